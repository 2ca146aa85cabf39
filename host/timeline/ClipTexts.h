// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/arrangement/Arrangement.h"
#include "host/timeline/Positions.h"

/// The settings of clips and tracks as phrases.
namespace orlo::host {

/// A number of frames of the engine in frames of the timeline, with fractions.
double TimelineFrames(double engineFrames, const FrameGrid& grid);

/// "1 frame", "2.5 frames": frames of the timeline.
std::string FrameCountText(double engineFrames, const FrameGrid& grid);

/// "level -3 dB" or "level with 2 keys"; empty without a level.
std::string LevelText(const otio::LevelCurve& level);

/// "effect gain: gain -6, disabled".
std::string EffectText(const otio::EffectRequest& effect);

/// "fade-in of 5 frames, fade-out of 1 frame, linear".
/// @param fades  exist
std::string FadeText(const otio::Fades& fades, const FrameGrid& grid);

/// "cross-fade from 'a' to silence, linear".
std::string CrossFadeText(const otio::PlacedTrack& track, const otio::PlacedTransition& transition);

/// "audio", "video", or another kind as in the file.
std::string KindText(const otio::TrackSummary& track);

}  // namespace orlo::host
