// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>

#include "host/arrangement/MediaStarts.h"
#include "sonrel/media/MediaInfo.h"

namespace orlo::host {

/// The description of a media file.
struct MediaDescription {
    zrh::media::MediaInfo info;
    std::string problem;  ///< why the file cannot be read, as a clause; empty when it can be
};

/// The descriptions of the media files of a command. Each file is opened once.
class MediaCatalog {
public:
    /// @throws CommandError when the program is asked to stop
    const MediaDescription& Describe(const std::string& path);

    /// The length and the timecode of a media file; nullopt when the file cannot be read.
    /// @param fps  frame rate of timecodes for which the file has no rate
    std::optional<otio::MediaClock> ClockOf(const std::string& path, double fps);

private:
    std::map<std::string, MediaDescription> descriptions_;
};

/// The length and the timecode of a media file. A timecode that is not usable is a problem.
/// @param fps  frame rate of timecodes for which the file has no rate
otio::MediaClock ClockOf(const zrh::media::MediaInfo& info, double fps);

/// Whether a timecode of a media file is drop-frame.
bool HasDropFrameTimecode(const zrh::media::MediaInfo& info);

/// Length of a stream in seconds; 0 if unknown.
double StreamSeconds(const zrh::media::MediaStreamInfo& stream);

}  // namespace orlo::host
