// SPDX-License-Identifier: MIT
#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "sonrel/plugins/pack/detail/AudioEffect.h"
#include "sonrel/plugins/pack/detail/FadeCurve.h"
#include "sonrel/plugins/pack/detail/Plugins.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

/// Lengths in video frames of the sequence of the object.
struct FadeShape {
    double inFrames;
    double outFrames;
    double objectFrames;
    double frameRate;
    FadeCurve curve;
};

/// The lengths at one sample rate, in samples.
struct FadeSpan {
    double inSamples;
    double outSamples;
    double outStart;  ///< start of the fade-out, counted from the start of the object

    FadeSpan(const FadeShape& shape, int rate) {
        const double samplesPerFrame = rate / shape.frameRate;
        inSamples = std::trunc(shape.inFrames * samplesPerFrame);
        outSamples = std::trunc(shape.outFrames * samplesPerFrame);
        outStart = std::trunc(shape.objectFrames * samplesPerFrame) - outSamples;
    }

    /// Whether all gains of a range are 1.
    bool LeavesAlone(double first, double endExclusive) const {
        return (inSamples <= 0.0 || first >= inSamples) &&
               (outSamples <= 0.0 || endExclusive <= outStart);
    }
};

class Fade final : public AudioEffect {
public:
    explicit Fade(const FadeShape& shape) : shape_(shape) {}

protected:
    void Run(const EffectBlock& block) const override {
        const FadeSpan span(shape_, block.rate);
        const auto first = static_cast<double>(block.firstSample);
        const int count = std::min(block.inputCount, block.outputCount);
        WriteSilence(block.samples, count, block.outputCount);
        if (span.LeavesAlone(first, first + count)) return;
        for (int i = 0; i < count; ++i) {
            const double gain = GainAt(span, first + i);
            if (gain == 1.0) continue;
            WriteFrame(block.samples, i, ReadFrame(block.samples, i) * gain);
        }
    }

private:
    /// @param n  position from the start of the object; in a transition it may be outside the
    ///           object
    double GainAt(const FadeSpan& span, double n) const {
        double gain = 1.0;
        if (span.inSamples > 0.0 && n < span.inSamples) {
            gain = EnteringGain(shape_.curve, n / span.inSamples);
        }
        if (span.outSamples > 0.0 && n > span.outStart) {
            gain *= LeavingGain(shape_.curve, (n - span.outStart) / span.outSamples);
        }
        return gain;
    }

    FadeShape shape_;
};

PluginPack::ParameterInfo Frames(const char* name, const char* meaning) {
    PluginPack::ParameterInfo frames;
    frames.name = name;
    frames.meaning = meaning;
    frames.unit = "frames";
    frames.maximum = INT_MAX;
    return frames;
}

}  // namespace

PluginPack::PluginInfo FadeInfo() {
    PluginPack::ParameterInfo frameRate;
    frameRate.name = "frameRate";
    frameRate.meaning = "Frame rate in which the lengths are given.";
    frameRate.unit = "frames/s";
    frameRate.minimum = 0.001;
    frameRate.maximum = 1000000.0;
    frameRate.defaultValue = 25.0;
    return {"fade",
            "Fades the object in at its start and out at its end.",
            {Frames("inFrames", "Length of the fade-in; 0 for none."),
             Frames("outFrames", "Length of the fade-out; 0 for none."),
             Frames("objectFrames", "Length of the object, which places the fade-out."), frameRate,
             CurveParameter()}};
}

EffectPointer MakeFade(const PluginPack::Parameters& parameters) {
    const FadeShape shape{parameters.at("inFrames"), parameters.at("outFrames"),
                          parameters.at("objectFrames"), parameters.at("frameRate"),
                          CurveOf(parameters.at("curve"))};
    if (shape.outFrames > 0.0 && shape.objectFrames <= 0.0) {
        throw std::invalid_argument(
            "fade: objectFrames must be above 0 where outFrames is: it says where the object ends");
    }
    return std::make_shared<Fade>(shape);
}

}  // namespace orlo::sonrel::detail
