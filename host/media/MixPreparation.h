// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/arrangement/Arrangement.h"
#include "host/media/EngineSession.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Progress.h"
#include "host/timeline/Input.h"

/// Preparation of a mix before samples are requested, for a file or for playback.
namespace orlo::host {

/// The names of a timeline's tracks, in track order.
std::vector<std::string> TrackNames(const otio::Arrangement& arrangement);

/// Finds or makes the conformed files of all media files with an audio stream.
/// @param media  imported
/// @throws JobError that names the first media file that cannot be conformed; CommandError when the
///         program is asked to stop
void ConformAll(const EngineSession& session, const std::vector<MediaUse>& media, int rate,
                Progress& progress);

}  // namespace orlo::host
