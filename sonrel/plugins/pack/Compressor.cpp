// SPDX-License-Identifier: MIT
#include <algorithm>
#include <memory>

#include "sonrel/plugins/pack/detail/DynamicsEffect.h"
#include "sonrel/plugins/pack/detail/Plugins.h"

namespace orlo::sonrel::detail {
namespace {

/// The static curve.
struct CompressorCurve {
    double thresholdDb;
    double ratio;
    double kneeDb;
    double makeupDb;
};

/// The gain computer of D. Giannoulis, M. Massberg and J. D. Reiss, "Digital Dynamic Range
/// Compressor Design: A Tutorial and Analysis", with windows in place of its smoothing filters.
class Compressor final : public DynamicsEffect {
public:
    Compressor(const CompressorCurve& curve, const GainTimes& times)
        : DynamicsEffect(times),
          curve_(curve),
          quiet_(ValueAt(curve.thresholdDb - curve.kneeDb / 2.0)) {}

protected:
    double AmountOf(const SoundView& sound, long long first, long long end) const override {
        const int peak = SamplePeak(sound, first, end);
        return peak <= quiet_ ? 0.0 : ReductionOf(LevelOf(peak) - curve_.thresholdDb);
    }

    double GainOf(double amount) const override { return FactorOf(curve_.makeupDb - amount); }

private:
    /// Decibels that a level is reduced by.
    /// @param over  decibels of the level above the threshold
    double ReductionOf(double over) const {
        const double slope = 1.0 - 1.0 / curve_.ratio;
        const double intoKnee = over + curve_.kneeDb / 2.0;
        if (intoKnee <= 0.0) return 0.0;
        if (intoKnee >= curve_.kneeDb) return slope * over;
        return slope * intoKnee * intoKnee / (2.0 * curve_.kneeDb);
    }

    CompressorCurve curve_;
    double quiet_;  ///< sample value up to which nothing is reduced
};

}  // namespace

PluginPack::PluginInfo CompressorInfo() {
    PluginPack::ParameterInfo ratio;
    ratio.name = "ratio";
    ratio.meaning = "Decibels of the sound above the threshold for each decibel that is left.";
    ratio.minimum = 1.0;
    ratio.maximum = 100.0;
    ratio.defaultValue = 4.0;
    return {
        "compressor",
        "Makes the loud parts softer.",
        {Decibels("thresholdDb", "Level above which the sound is reduced.", -60.0, 0.0, -20.0),
         ratio, Decibels("kneeDb", "Width of the soft bend around the threshold.", 0.0, 40.0, 6.0),
         Milliseconds("attackMs", "Time in which the reduction sets in.", 1.0, 100.0, 10.0),
         Milliseconds("releaseMs", "Time in which the reduction ends.", 1.0, 850.0, 200.0),
         Decibels("makeupDb", "Change of level after the reduction.", -24.0, 24.0, 0.0)}};
}

EffectPointer MakeCompressor(const PluginPack::Parameters& parameters) {
    const CompressorCurve curve{parameters.at("thresholdDb"), parameters.at("ratio"),
                                parameters.at("kneeDb"), parameters.at("makeupDb")};
    const GainTimes times{parameters.at("attackMs"), 0.0, parameters.at("releaseMs"), false};
    return std::make_shared<Compressor>(curve, times);
}

}  // namespace orlo::sonrel::detail
