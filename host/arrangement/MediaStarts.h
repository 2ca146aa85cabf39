// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/otio/ImportReport.h"
#include "host/otio/MediaResolver.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// The length and the timecode of a media file.
struct MediaClock {
    double seconds = 0.0;         ///< length
    std::optional<double> start;  ///< seconds of the timecode of the first frame
    std::string timecode;         ///< the timecode as text, where start is set
    std::string problem;          ///< why the timecode of the file is not used, as a clause
};

/// Reads the clock of a media file; nullopt when the file does not exist or cannot be read.
/// @param fps  frame rate of timecodes for which the file has no rate
using MediaClockOf = std::function<std::optional<MediaClock>(const std::string& path, double fps)>;

/// Sets the start of media files by their own timecode where the timeline leaves it open: for clips
/// without an available_range whose in-point is outside the file but inside its timecode, and for
/// clips whose available_range contradicts that of other clips of the file. Every guess and every
/// contradiction is reported. Other media files are not read.
void FindMediaStarts(Timeline& timeline, double fps, const MediaResolver& resolver,
                     const MediaClockOf& clockOf, ImportReport& report);

}  // namespace orlo::host::otio
