// SPDX-License-Identifier: MIT
#include <memory>

#include "sonrel/plugins/pack/detail/DynamicsEffect.h"
#include "sonrel/plugins/pack/detail/Plugins.h"

namespace orlo::sonrel::detail {
namespace {

/// The limiter of P. Hamalainen, "Smoothing of the control signal without clipped output in digital
/// peak limiters", for the true peak. The amount is the reduction in decibels.
class Limiter final : public DynamicsEffect {
public:
    Limiter(double ceilingDb, double gainDb, const GainTimes& times)
        : DynamicsEffect(times),
          gainDb_(gainDb),
          limitDb_(ceilingDb - gainDb),
          limit_(ValueAt(limitDb_)) {}

protected:
    int Reach() const override { return TRUE_PEAK_REACH; }

    double AmountOf(const SoundView& sound, long long first, long long end) const override {
        const int around = SamplePeak(sound, first - TRUE_PEAK_REACH, end + TRUE_PEAK_REACH);
        if (around * MAX_TRUE_PEAK_RATIO <= limit_) return 0.0;
        const double peak = TruePeak(sound, first, end);
        return peak <= limit_ ? 0.0 : LevelOf(peak) - limitDb_;
    }

    double GainOf(double amount) const override { return FactorOf(gainDb_ - amount); }

private:
    double gainDb_;
    double limitDb_;  ///< true peak of the input that is not reduced
    double limit_;    ///< as a sample value
};

}  // namespace

PluginPack::PluginInfo LimiterInfo() {
    return {"limiter",
            "Keeps the true peak below a ceiling.",
            {Decibels("ceilingDb", "Largest true peak of the output.", -24.0, 0.0, -1.0),
             Decibels("gainDb", "Change of level before the limit.", -24.0, 24.0, 0.0),
             Milliseconds("attackMs", "Time in which the reduction sets in, before the peak.", 1.0,
                          50.0, 5.0),
             Milliseconds("releaseMs", "Time in which the reduction ends.", 1.0, 900.0, 100.0)}};
}

EffectPointer MakeLimiter(const PluginPack::Parameters& parameters) {
    const GainTimes times{parameters.at("attackMs"), 0.0, parameters.at("releaseMs"), true};
    return std::make_shared<Limiter>(parameters.at("ceilingDb"), parameters.at("gainDb"), times);
}

}  // namespace orlo::sonrel::detail
