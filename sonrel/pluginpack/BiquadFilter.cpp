// SPDX-License-Identifier: MIT
#include "sonrel/pluginpack/detail/BiquadFilter.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "sonrel/pluginpack/detail/AudioEffect.h"
#include "sonrel/pluginpack/detail/Plugins.h"
#include "sonrel/pluginpack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

/// Frames that a block hears before its own first, from a filter at rest.
constexpr int RUN_IN_FRAMES = 4096;

/// The highest corner as a share of the rate.
constexpr double HIGHEST_OF_RATE = 0.45;

/// The highest corner at all, which is the share of the highest rate that media are read at.
constexpr double HIGHEST_HZ = HIGHEST_OF_RATE * 768000;

using CoefficientLaw = BiquadCoefficients (*)(int, double, double);

/// What a section remembers of one channel.
struct Memory {
    double x1 = 0.0;
    double x2 = 0.0;
    double y1 = 0.0;
    double y2 = 0.0;

    double Step(const BiquadCoefficients& c, double x) {
        const double y = c.b0 * x + c.b1 * x1 + c.b2 * x2 - c.a1 * y1 - c.a2 * y2;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
};

class BiquadFilter final : public AudioEffect {
public:
    BiquadFilter(CoefficientLaw law, double frequency, double q)
        : law_(law), frequency_(frequency), q_(q) {}

protected:
    long long LookBack(int) const override { return RUN_IN_FRAMES; }

    void Run(const EffectBlock& block) const override {
        const BiquadCoefficients coefficients =
            law_(block.rate, std::min(frequency_, HIGHEST_OF_RATE * block.rate), q_);
        Memory memory[CHANNELS];
        for (long long at = 0; at < block.lookBack + block.outputCount; ++at) {
            for (int channel = 0; channel < CHANNELS; ++channel) {
                const double x =
                    at < block.inputCount ? ReadValue(block.samples, at, channel) : 0.0;
                const double y = memory[channel].Step(coefficients, x);
                // Writing never overtakes reading.
                const long long to = at - block.lookBack;
                if (to >= 0) WriteValue(block.samples, to, channel, ToValue(y));
            }
        }
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
    frequency.maximum = HIGHEST_HZ;
    frequency.defaultValue = 1000.0;
    frequency.maximumOfRate = HIGHEST_OF_RATE;
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
