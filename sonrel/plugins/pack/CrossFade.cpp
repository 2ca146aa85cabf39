// SPDX-License-Identifier: MIT
#include <memory>

#include "sonrel/plugins/AbstractPluginAudioTransition.h"
#include "sonrel/plugins/pack/detail/FadeCurve.h"
#include "sonrel/plugins/pack/detail/Plugins.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

/// One of the two objects of a transition; silence where it has no samples.
struct Side {
    const unsigned char* samples;
    int count;

    Frame At(int frame) const {
        if (samples == nullptr || frame >= count) return Frame{0.0, 0.0};
        return ReadFrame(samples, frame);
    }
};

class CrossFade final : public project::AbstractPluginAudioTransition {
public:
    explicit CrossFade(FadeCurve curve) : curve_(curve) {}

    int PluginKind() const override { return AUDIO_PLUGIN; }

    int ProcessTransition(project::Transition*, int, int channels, int sampleRate,
                          int bitsPerSample, unsigned char* fromSamples, int fromCount,
                          unsigned char* toSamples, int toCount, unsigned char* output,
                          int outputCount, int positionMs, int, int lengthSamples, int) override {
        if (channels != CHANNELS || bitsPerSample != BITS_PER_SAMPLE) return UNKNOWN_FORMAT;
        const Side from{fromSamples, fromCount};
        const Side to{toSamples, toCount};
        // All blocks of one video frame have the same position: the fade counts samples from the
        // first sample of the block.
        const double start = static_cast<double>(positionMs) * sampleRate / 1000.0;
        for (int i = 0; i < outputCount; ++i) {
            const double t = lengthSamples < 1 ? 1.0 : (start + i) / lengthSamples;
            const double fromGain = LeavingGain(curve_, t);
            const double toGain = EnteringGain(curve_, t);
            // The output is one of the two inputs: both are read before it is written.
            WriteFrame(output, i, from.At(i) * fromGain + to.At(i) * toGain);
        }
        return DONE;
    }

private:
    FadeCurve curve_;
};

}  // namespace

PluginPack::PluginInfo CrossFadeInfo() {
    return {"cross-fade",
            "Fades the object that ends into the object that begins.",
            {CurveParameter()}};
}

TransitionPointer MakeCrossFade(const PluginPack::Parameters& parameters) {
    return std::make_shared<CrossFade>(CurveOf(parameters.at("curve")));
}

}  // namespace orlo::sonrel::detail
