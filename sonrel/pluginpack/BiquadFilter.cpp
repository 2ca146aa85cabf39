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

/// One value of each channel.
struct Frame {
    double left = 0.0;
    double right = 0.0;
};

/// A section with what it remembers: the last two inputs and outputs.
class Section {
public:
    explicit Section(const BiquadCoefficients& coefficients) : c_(coefficients) {}

    /// Takes the frame at @p at and gives its output.
    Frame Step(const unsigned char* samples, long long at) {
        const Frame x{static_cast<double>(ReadValue(samples, at, 0)),
                      static_cast<double>(ReadValue(samples, at, 1))};
        const Frame y{c_.b0 * x.left + c_.b1 * x1_.left + c_.b2 * x2_.left - c_.a1 * y1_.left -
                          c_.a2 * y2_.left,
                      c_.b0 * x.right + c_.b1 * x1_.right + c_.b2 * x2_.right - c_.a1 * y1_.right -
                          c_.a2 * y2_.right};
        x2_ = x1_;
        x1_ = x;
        y2_ = y1_;
        y1_ = y;
        return y;
    }

private:
    BiquadCoefficients c_;
    Frame x1_;
    Frame x2_;
    Frame y1_;
    Frame y2_;
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
        Section section(coefficients);
        const long long end = block.lookBack + block.outputCount;
        WriteSilence(block.samples, block.inputCount, end);
        for (long long at = 0; at < block.lookBack; ++at) section.Step(block.samples, at);
        for (long long at = block.lookBack; at < end; ++at) {
            const Frame y = section.Step(block.samples, at);
            // The output lies at or before its input, so writing never overtakes reading.
            WriteValue(block.samples, at - block.lookBack, 0, ToValue(y.left));
            WriteValue(block.samples, at - block.lookBack, 1, ToValue(y.right));
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
