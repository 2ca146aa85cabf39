// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/BiquadFilter.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "sonrel/plugins/pack/detail/AudioEffect.h"
#include "sonrel/plugins/pack/detail/BlockFilter.h"
#include "sonrel/plugins/pack/detail/Plugins.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

/// Frames before the first frame of a block, which the filter processes from rest.
constexpr int RUN_IN_FRAMES = 4096;

/// The maximum corner frequency as a fraction of the rate.
constexpr double MAX_OF_RATE = 0.45;

/// The maximum corner frequency at any rate: the fraction above, of the maximum rate of media.
constexpr double MAX_HZ = MAX_OF_RATE * 768000;

using CoefficientLaw = BiquadCoefficients (*)(int, double, double);

class BiquadFilter final : public AudioEffect {
public:
    BiquadFilter(CoefficientLaw law, double frequency, double q)
        : law_(law), frequency_(frequency), q_(q) {}

protected:
    long long LookBack(int, long long) const override { return RUN_IN_FRAMES; }

    void Run(const EffectBlock& block) const override {
        const BiquadCoefficients coefficients =
            law_(block.rate, std::min(frequency_, MAX_OF_RATE * block.rate), q_);
        WriteSilence(block.samples, block.inputCount, block.lookBack + block.outputCount);
        BlockFilter(coefficients).Run(block.samples, block.lookBack, block.outputCount);
    }

private:
    CoefficientLaw law_;
    double frequency_;
    double q_;
};

PluginPack::PluginInfo FilterInfo(const char* name, const char* meaning) {
    PluginPack::ParameterInfo frequency;
    frequency.name = "frequencyHz";
    frequency.meaning = "Corner frequency.";
    frequency.unit = "Hz";
    frequency.minimum = 10.0;
    frequency.maximum = MAX_HZ;
    frequency.defaultValue = 1000.0;
    frequency.maximumOfRate = MAX_OF_RATE;
    PluginPack::ParameterInfo q;
    q.name = "q";
    q.meaning = "Sharpness of the corner; above 0.7071 the filter rings at it.";
    q.minimum = 0.1;
    q.maximum = 10.0;
    q.defaultValue = 0.7071;
    return {name, meaning, {frequency, q}};
}

}  // namespace

BiquadCoefficients LowPassCoefficients(int rate, double frequency, double q) {
    const double w0 = 2.0 * std::numbers::pi * frequency / rate;
    const double cosine = std::cos(w0);
    const double alpha = std::sin(w0) / (2.0 * q);
    const double a0 = 1.0 + alpha;
    return {(1.0 - cosine) / 2.0 / a0, (1.0 - cosine) / a0, (1.0 - cosine) / 2.0 / a0,
            -2.0 * cosine / a0, (1.0 - alpha) / a0};
}

BiquadCoefficients HighPassCoefficients(int rate, double frequency, double q) {
    const double w0 = 2.0 * std::numbers::pi * frequency / rate;
    const double cosine = std::cos(w0);
    const double alpha = std::sin(w0) / (2.0 * q);
    const double a0 = 1.0 + alpha;
    return {(1.0 + cosine) / 2.0 / a0, -(1.0 + cosine) / a0, (1.0 + cosine) / 2.0 / a0,
            -2.0 * cosine / a0, (1.0 - alpha) / a0};
}

PluginPack::PluginInfo LowPassInfo() {
    return FilterInfo("low-pass", "Takes away what lies above the corner frequency.");
}

EffectPointer MakeLowPass(const PluginPack::Parameters& parameters) {
    return std::make_shared<BiquadFilter>(LowPassCoefficients, parameters.at("frequencyHz"),
                                          parameters.at("q"));
}

PluginPack::PluginInfo HighPassInfo() {
    return FilterInfo("high-pass", "Takes away what lies below the corner frequency.");
}

EffectPointer MakeHighPass(const PluginPack::Parameters& parameters) {
    return std::make_shared<BiquadFilter>(HighPassCoefficients, parameters.at("frequencyHz"),
                                          parameters.at("q"));
}

}  // namespace orlo::sonrel::detail
