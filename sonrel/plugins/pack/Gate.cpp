// SPDX-License-Identifier: MIT
#include <memory>

#include "sonrel/plugins/pack/detail/DynamicsEffect.h"
#include "sonrel/plugins/pack/detail/Plugins.h"

namespace orlo::sonrel::detail {
namespace {

/// The noise gate of U. Zoelzer (editor), "DAFX: Digital Audio Effects", with the hold time in
/// place of a second threshold. The amount is 1 where it is open.
class Gate final : public DynamicsEffect {
public:
    Gate(double thresholdDb, double rangeDb, const GainTimes& times)
        : DynamicsEffect(times), threshold_(ValueAt(thresholdDb)), rangeDb_(rangeDb) {}

protected:
    double AmountOf(const SoundView& sound, long long first, long long end) const override {
        return SamplePeak(sound, first, end) >= threshold_ ? 1.0 : 0.0;
    }

    double GainOf(double amount) const override { return FactorOf(rangeDb_ * (1.0 - amount)); }

private:
    double threshold_;  ///< sample value at which it opens
    double rangeDb_;
};

}  // namespace

PluginPack::PluginInfo GateInfo() {
    return {
        "gate",
        "Makes the sound between the loud parts softer.",
        {Decibels("thresholdDb", "Level from which the gate is open.", -90.0, 0.0, -50.0),
         Decibels("rangeDb", "Change of level while the gate is closed.", -96.0, 0.0, -60.0),
         Milliseconds("attackMs", "Time in which the gate opens, before the sound that opens it.",
                      1.0, 50.0, 5.0),
         Milliseconds("holdMs", "Time for which the gate stays open.", 0.0, 400.0, 100.0),
         Milliseconds("releaseMs", "Time in which the gate closes.", 1.0, 500.0, 150.0)}};
}

EffectPointer MakeGate(const PluginPack::Parameters& parameters) {
    const GainTimes times{parameters.at("attackMs"), parameters.at("holdMs"),
                          parameters.at("releaseMs"), true};
    return std::make_shared<Gate>(parameters.at("thresholdDb"), parameters.at("rangeDb"), times);
}

}  // namespace orlo::sonrel::detail
