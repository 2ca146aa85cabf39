// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "sonrel/plugins/pack/PluginPack.h"
#include "sonrel/plugins/pack/detail/AudioEffect.h"
#include "sonrel/plugins/pack/detail/CellPeaks.h"
#include "sonrel/plugins/pack/detail/GainWindows.h"

namespace orlo::sonrel::detail {

/// The times of a gain computer.
struct GainTimes {
    double attackMs = 1.0;
    double holdMs = 0.0;
    double releaseMs = 1.0;
    bool looksAhead = false;
};

/// The base of the effects whose gain follows the level of the sound.
///
/// The sound is divided into cells of a millisecond, counted from the start of the object. Each
/// cell has an amount, computed from its peak. The windows make the amounts at the starts of the
/// cells, each of which has a gain; between two starts the gain is a straight line. Both channels
/// have the same gain.
class DynamicsEffect : public AudioEffect {
protected:
    explicit DynamicsEffect(const GainTimes& times) : times_(times) {}

    long long LookBack(int rate, long long firstSample) const final;
    long long LookAhead(int rate, long long endSample) const final;
    void Run(const EffectBlock& block) const final;

    /// Frames before and after a cell that its amount depends on.
    virtual int Reach() const;
    /// The amount of a cell, at least 0; 0 for silence.
    virtual double AmountOf(const SoundView& sound, long long first, long long end) const = 0;
    /// The gain of an amount.
    virtual double GainOf(double amount) const = 0;

private:
    GainWindows WindowsAt(int rate) const;
    std::vector<double> Gains(const EffectBlock& block) const;

    GainTimes times_;
};

/// A parameter in milliseconds.
PluginPack::ParameterInfo Milliseconds(const char* name, const char* meaning, double minimum,
                                       double maximum, double defaultValue);

/// A parameter in decibels.
PluginPack::ParameterInfo Decibels(const char* name, const char* meaning, double minimum,
                                   double maximum, double defaultValue);

/// 10^(decibels / 20).
double FactorOf(double decibels);

/// The sample value at a level below full scale, which is 32768.
double ValueAt(double decibels);

/// The decibels of a sample value above 0.
double LevelOf(double value);

}  // namespace orlo::sonrel::detail
