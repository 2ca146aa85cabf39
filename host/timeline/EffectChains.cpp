// SPDX-License-Identifier: MIT
#include "host/timeline/EffectChains.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <variant>

#include "host/shell/Text.h"
#include "sonrel/plugins/pack/PluginPack.h"

namespace orlo::host {

namespace {

namespace pack = sonrel::PluginPack;

using Plugin = std::shared_ptr<project::AbstractPluginAudio>;

/// The number of a choice of a parameter, from the name of the choice.
/// @throws std::invalid_argument when the parameter does not have this choice
double ChoiceNumber(const std::string& plugin, const std::string& parameter,
                    const std::string& word) {
    for (const pack::PluginInfo& info : pack::Effects()) {
        if (info.name != plugin) continue;
        for (const pack::ParameterInfo& known : info.parameters) {
            if (known.name != parameter) continue;
            const auto at = std::find(known.choices.begin(), known.choices.end(), word);
            if (at != known.choices.end()) return static_cast<double>(at - known.choices.begin());
        }
    }
    throw std::invalid_argument(plugin + ": " + parameter + " cannot be " + Quoted(word));
}

/// @throws std::invalid_argument with the reason for a refusal
Plugin MakeEffect(const otio::EffectRequest& request, int rate) {
    pack::Parameters parameters;
    // An unknown effect is refused by its name, not by its parameters.
    pack::Parameters none;
    const auto& known = pack::Effects();
    const bool exists = std::any_of(known.begin(), known.end(), [&](const pack::PluginInfo& info) {
        return info.name == request.plugin;
    });
    if (!exists) return pack::CreateEffect(request.plugin, none, rate);
    for (const auto& [name, value] : request.parameters) {
        const std::string* word = std::get_if<std::string>(&value);
        parameters[name] =
            word != nullptr ? ChoiceNumber(request.plugin, name, *word) : std::get<double>(value);
    }
    return pack::CreateEffect(request.plugin, parameters, rate);
}

Plugin MakeFade(const otio::PlacedClip& clip, double engineRate, int rate) {
    return pack::CreateEffect("fade",
                              {{"inFrames", clip.fades.inFrames},
                               {"outFrames", clip.fades.outFrames},
                               {"objectFrames", clip.endFrame - clip.startFrame},
                               {"frameRate", engineRate},
                               {"curve", pack::CurveNumber(clip.fades.curve)}},
                              rate);
}

/// Removes the effects and fades that the plugin pack refuses.
class EffectFilter {
public:
    EffectFilter(otio::Arrangement& arrangement, otio::ImportReport& report)
        : engineRate_(arrangement.EngineRate()), rate_(arrangement.rate), report_(report) {}

    void Apply(std::vector<otio::PlacedTrack>& tracks) {
        for (otio::PlacedTrack& track : tracks) {
            for (otio::PlacedClip& clip : track.clips) {
                std::erase_if(clip.effects, [&](const otio::EffectRequest& request) {
                    return IsRefused(clip, "effect " + Quoted(request.plugin),
                                     [&] { MakeEffect(request, rate_); });
                });
                if (clip.fades.Exist() &&
                    IsRefused(clip, "fade", [&] { MakeFade(clip, engineRate_, rate_); })) {
                    clip.fades = {};
                }
                if (clip.composition != nullptr) Apply(clip.composition->tracks);
            }
        }
    }

private:
    template <class Make>
    bool IsRefused(const otio::PlacedClip& clip, const std::string& what, const Make& make) {
        try {
            make();
            return false;
        } catch (const std::invalid_argument& refusal) {
            report_.Add(what, clip.place, OneLine(refusal.what()) + "; it is skipped");
            return true;
        }
    }

    const double engineRate_;
    const int rate_;
    otio::ImportReport& report_;
};

}  // namespace

void DropRefusedEffects(otio::TimelineImport& import) {
    EffectFilter(import.arrangement, import.report).Apply(import.arrangement.tracks);
}

std::vector<ChainLink> MakeChain(const otio::PlacedClip& clip, double engineRate, int rate) {
    std::vector<ChainLink> chain;
    for (const otio::EffectRequest& request : clip.effects) {
        chain.push_back({MakeEffect(request, rate), request.enabled});
    }
    if (clip.fades.Exist()) chain.push_back({MakeFade(clip, engineRate, rate), true});
    return chain;
}

std::shared_ptr<project::AbstractPluginAudioTransition> MakeCrossFade(
    const otio::PlacedTransition& transition) {
    return pack::CreateTransition("cross-fade", {{"curve", pack::CurveNumber(transition.curve)}});
}

}  // namespace orlo::host
