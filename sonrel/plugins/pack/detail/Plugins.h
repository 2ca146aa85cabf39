// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/plugins/pack/PluginPack.h"

/// The plugins of the pack. Each has a description, and a function that creates it from a full set
/// of checked parameters.
namespace orlo::sonrel::detail {

using EffectPointer = std::shared_ptr<project::AbstractPluginAudio>;
using TransitionPointer = std::shared_ptr<project::AbstractPluginAudioTransition>;

PluginPack::PluginInfo CrossFadeInfo();
TransitionPointer MakeCrossFade(const PluginPack::Parameters& parameters);

PluginPack::PluginInfo FadeInfo();
EffectPointer MakeFade(const PluginPack::Parameters& parameters);

PluginPack::PluginInfo GainInfo();
EffectPointer MakeGain(const PluginPack::Parameters& parameters);

PluginPack::PluginInfo DelayInfo();
EffectPointer MakeDelay(const PluginPack::Parameters& parameters);

PluginPack::PluginInfo LowPassInfo();
EffectPointer MakeLowPass(const PluginPack::Parameters& parameters);

PluginPack::PluginInfo HighPassInfo();
EffectPointer MakeHighPass(const PluginPack::Parameters& parameters);

PluginPack::PluginInfo EqualizerInfo();
EffectPointer MakeEqualizer(const PluginPack::Parameters& parameters);

PluginPack::PluginInfo CompressorInfo();
EffectPointer MakeCompressor(const PluginPack::Parameters& parameters);

PluginPack::PluginInfo GateInfo();
EffectPointer MakeGate(const PluginPack::Parameters& parameters);

PluginPack::PluginInfo LimiterInfo();
EffectPointer MakeLimiter(const PluginPack::Parameters& parameters);

}  // namespace orlo::sonrel::detail
