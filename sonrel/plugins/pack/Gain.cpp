// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <memory>

#include "sonrel/plugins/pack/detail/AudioEffect.h"
#include "sonrel/plugins/pack/detail/Plugins.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

class Gain final : public AudioEffect {
public:
    explicit Gain(double gainDb) : factor_(std::pow(10.0, gainDb / 20.0)) {}

protected:
    void Run(const EffectBlock& block) const override {
        const int count = std::min(block.inputCount, block.outputCount);
        for (int i = 0; i < count; ++i) {
            WriteFrame(block.samples, i, ReadFrame(block.samples, i) * factor_);
        }
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
