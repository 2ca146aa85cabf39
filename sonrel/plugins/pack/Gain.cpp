// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <memory>

#include "sonrel/plugins/pack/detail/AudioEffect.h"
#include "sonrel/plugins/pack/detail/FourFrames.h"
#include "sonrel/plugins/pack/detail/Plugins.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

struct ScaleKernel {
    using Signature = void(unsigned char* samples, int count, double factor);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(unsigned char* samples, int count, double factor) {
        typename L::Doubles factors;
        Spread(factor, factors);
        int at = 0;
        for (; at + FRAMES_AT_ONCE <= count; at += FRAMES_AT_ONCE) {
            FourFrames<L> frames;
            ReadFour(samples + ByteOf(at), frames);
            for (auto& part : frames.parts) part *= factors;
            WriteFour(samples + ByteOf(at), frames);
        }
        for (; at < count; ++at) WriteFrame(samples, at, ReadFrame(samples, at) * factor);
    }
};

constexpr auto SCALE = KernelsOf<ScaleKernel>();

class Gain final : public AudioEffect {
public:
    explicit Gain(double gainDb) : factor_(std::pow(10.0, gainDb / 20.0)) {}

protected:
    void Run(const EffectBlock& block) const override {
        const int count = std::min(block.inputCount, block.outputCount);
        SCALE.Active()(block.samples, count, factor_);
        WriteSilence(block.samples, count, block.outputCount);
    }

private:
    double factor_;
};

}  // namespace

PluginPack::PluginInfo GainInfo() {
    PluginPack::ParameterInfo gainDb;
    gainDb.name = "gainDb";
    gainDb.meaning = "Change of level; beyond full scale the samples are clipped.";
    gainDb.unit = "dB";
    gainDb.minimum = -96.0;
    gainDb.maximum = 24.0;
    return {"gain", "Makes the object louder or softer.", {gainDb}};
}

EffectPointer MakeGain(const PluginPack::Parameters& parameters) {
    return std::make_shared<Gain>(parameters.at("gainDb"));
}

}  // namespace orlo::sonrel::detail
