// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "host/arrangement/TimelineImport.h"
#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/AbstractPluginAudioTransition.h"

namespace orlo::host {

/// A plugin in the effect chain of a clip.
struct ChainLink {
    std::shared_ptr<project::AbstractPluginAudio> plugin;
    bool enabled = true;
};

/// Removes from an import the effects and fades that the plugin pack does not have or whose
/// parameters it refuses. Each is reported.
void DropRefusedEffects(otio::TimelineImport& import);

/// The chain of a clip: its effects in file order, then its fades.
/// @param clip        of an import without refused effects (DropRefusedEffects)
/// @param engineRate  frame rate of the clip's frames
std::vector<ChainLink> MakeChain(const otio::PlacedClip& clip, double engineRate, int rate);

/// The cross-fade of a transition.
std::shared_ptr<project::AbstractPluginAudioTransition> MakeCrossFade(
    const otio::PlacedTransition& transition);

}  // namespace orlo::host
