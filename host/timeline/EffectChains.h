// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "host/otio/TimelineImport.h"
#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"

namespace orlo::host {

/// A plugin of a clip's chain.
struct ChainLink {
    std::shared_ptr<project::AbstractPluginAudio> plugin;
    bool enabled = true;
};

/// Takes the effects and fades out of an import that the plugin pack does not have or whose
/// parameters it refuses, with a note for each.
void DropRefusedEffects(otio::TimelineImport& import);

/// The chain of a clip: its effects in their order, then its fades.
/// @param clip  of an import that DropRefusedEffects has seen
std::vector<ChainLink> MakeChain(const otio::PlacedClip& clip, double fps, int rate);

/// The cross-fade of a transition.
std::shared_ptr<project::AbstractPluginAudioTransition> MakeCrossFade(
    const otio::PlacedTransition& transition);

}  // namespace orlo::host
