// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/arrangement/Arrangement.h"
#include "host/arrangement/MediaStarts.h"
#include "host/otio/FrameRateChoice.h"
#include "host/otio/ImportReport.h"
#include "host/otio/MediaReferences.h"

/// The reader of OpenTimelineIO timelines. It has three stages, each testable separately: the JSON
/// document (JsonDocument.h), the values of the timeline (TimelineParser.h), and the timeline in
/// frames with resolved media (Arrangement.h).
namespace orlo::host::otio {

struct ImportOptions {
    RateChoice rates;
    Retime retime = Retime::Otio;
    std::vector<MediaRoot> mediaRoots;
    AudioFrom audioFrom = AudioFrom::Auto;
    PictureRateOf pictureRateOf;  ///< may be empty: no media file is read then
    MediaClockOf mediaClockOf;    ///< may be empty: timecodes of media files are not used then
    std::string folder;           ///< for relative paths; empty: the folder of the document
    bool dropFrame = false;       ///< timecodes are drop-frame at frame rates that have it
};

struct TimelineImport {
    std::string name;
    Arrangement arrangement;
    Track::Kind soundKind = Track::Kind::Audio;  ///< of the tracks that sound: Audio or Video
    std::vector<TrackSummary> allTracks;         ///< the tracks that sound are in the arrangement
    ImportReport report;
    std::vector<ReferencedMedia> media;  ///< every local file that the document references
};

/// Reads a timeline.
/// @param path  an ".otio" file, or an ".otiod" folder with its content.otio
/// @throws DocumentError with the fault and its position in the file
TimelineImport ImportTimeline(const std::string& path, const ImportOptions& options);

/// Reads a timeline from memory.
/// @param text    the document
/// @param folder  folder for relative paths
TimelineImport ImportTimelineText(std::string text, const std::string& folder,
                                  const ImportOptions& options);

}  // namespace orlo::host::otio
