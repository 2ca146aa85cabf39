// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/PluginPack.h"

#include <stdexcept>

#include "sonrel/plugins/pack/detail/FadeCurve.h"
#include "sonrel/plugins/pack/detail/ParameterCheck.h"
#include "sonrel/plugins/pack/detail/Plugins.h"

namespace orlo::sonrel::PluginPack {
namespace {

using detail::EffectPointer;
using detail::TransitionPointer;

template <class Pointer>
struct Entry {
    PluginInfo (*describe)();
    Pointer (*make)(const Parameters&);
};

constexpr Entry<EffectPointer> EFFECTS[] = {
    {detail::FadeInfo, detail::MakeFade},
    {detail::GainInfo, detail::MakeGain},
    {detail::DelayInfo, detail::MakeDelay},
    {detail::LowPassInfo, detail::MakeLowPass},
    {detail::HighPassInfo, detail::MakeHighPass},
    {detail::EqualizerInfo, detail::MakeEqualizer},
    {detail::CompressorInfo, detail::MakeCompressor},
    {detail::GateInfo, detail::MakeGate},
    {detail::LimiterInfo, detail::MakeLimiter},
};

constexpr Entry<TransitionPointer> TRANSITIONS[] = {
    {detail::CrossFadeInfo, detail::MakeCrossFade},
};

template <class Pointer, std::size_t COUNT>
std::vector<PluginInfo> Describe(const Entry<Pointer> (&entries)[COUNT]) {
    std::vector<PluginInfo> plugins;
    for (const auto& entry : entries) plugins.push_back(entry.describe());
    return plugins;
}

/// @param plugins  the descriptions of the entries, in their order
template <class Pointer, std::size_t COUNT>
Pointer Create(const Entry<Pointer> (&entries)[COUNT], const std::vector<PluginInfo>& plugins,
               const std::string& kind, const std::string& name, const Parameters& parameters,
               int sampleRate) {
    std::string names;
    for (std::size_t i = 0; i < COUNT; ++i) {
        if (plugins[i].name == name) {
            return entries[i].make(detail::CheckedParameters(plugins[i], parameters, sampleRate));
        }
        names += (i == 0 ? "" : ", ") + plugins[i].name;
    }
    throw std::invalid_argument("there is no " + kind + " \"" + name + "\", only " + names);
}

}  // namespace

const std::vector<PluginInfo>& Effects() {
    static const std::vector<PluginInfo> PLUGINS = Describe(EFFECTS);
    return PLUGINS;
}

const std::vector<PluginInfo>& Transitions() {
    static const std::vector<PluginInfo> PLUGINS = Describe(TRANSITIONS);
    return PLUGINS;
}

double CurveNumber(const std::string& curve) {
    const std::vector<std::string> choices = detail::CurveParameter().choices;
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (choices[i] == curve) return static_cast<double>(i);
    }
    throw std::invalid_argument("there is no curve \"" + curve +
                                "\", only linear, equal-power, db");
}

std::shared_ptr<project::AbstractPluginAudio> CreateEffect(const std::string& name,
                                                           const Parameters& parameters,
                                                           int sampleRate) {
    return Create(EFFECTS, Effects(), "effect", name, parameters, sampleRate);
}

std::shared_ptr<project::AbstractPluginAudioTransition> CreateTransition(
    const std::string& name, const Parameters& parameters) {
    return Create(TRANSITIONS, Transitions(), "transition", name, parameters, 0);
}

}  // namespace orlo::sonrel::PluginPack
