// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/arrangement/Arrangement.h"
#include "host/timeline/Input.h"

/// The texts of clips on a page.
namespace orlo::host {

/// The timecode of a frame of the engine.
std::string TimecodeText(double frame, const FrameGrid& grid);

/// The media file of a clip, or the content of a nested item, and its settings.
/// @param fit  of the media file
std::vector<std::string> ClipDetails(const otio::PlacedClip& clip, const SoundFit& fit,
                                     const FrameGrid& grid);

}  // namespace orlo::host
