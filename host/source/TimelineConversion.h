// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace orlo::host {

/// Converts a timeline of another format with the program otioconvert of OpenTimelineIO, which is
/// searched on PATH.
/// @param input   an .edl, .xml or .fcpxml file, or an .fcpxmld folder
/// @param output  the .otio file that is made
/// @param fps     frame rate of an EDL, which does not contain it; empty: that of otioconvert
/// @throws JobError when otioconvert is missing, fails or takes too long; CommandError when the
///         program is asked to stop
void ConvertTimeline(const std::string& input, const std::string& output,
                     std::optional<double> fps);

}  // namespace orlo::host
