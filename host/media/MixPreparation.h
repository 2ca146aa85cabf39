// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/media/EngineSession.h"
#include "host/options/GlobalOptions.h"
#include "host/otio/Arrangement.h"
#include "host/shell/Progress.h"
#include "host/timeline/Input.h"

/// What comes before samples are asked for, whether they go into a file or are played.
namespace orlo::host {

/// The names of a timeline's tracks, in their order.
std::vector<std::string> TrackNames(const otio::Arrangement& arrangement);

/// Finds or makes the conformed files of everything that has sound.
/// @param media  imported
/// @throws JobError that names the first medium which cannot be conformed; CommandError when the
///         program is asked to stop
void ConformAll(const EngineSession& session, const std::vector<MediaUse>& media, int rate,
                Progress& progress);

}  // namespace orlo::host
