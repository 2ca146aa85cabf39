// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/otio/Arrangement.h"
#include "host/otio/ImportReport.h"
#include "host/otio/MediaReferences.h"

/// The reader of OpenTimelineIO timelines. Three stages, each of plain values and testable alone:
/// the document (JsonDocument.h), the timeline as the file tells it (TimelineParser.h), and the
/// timeline in frames with its media resolved (Arrangement.h).
namespace orlo::host::otio {

struct ImportOptions {
    RateChoice rates;
    Retime retime = Retime::Otio;
    std::vector<MediaRoot> mediaRoots;
    Track::Kind soundFrom = Track::Kind::Audio;
};

struct TimelineImport {
    std::string name;
    Arrangement arrangement;
    ImportReport report;
    std::vector<ReferencedMedia> media;  ///< every local file that the document names
};

/// Whether a path names a timeline: a file that ends in ".otio" or a folder that ends in ".otiod".
bool IsTimelinePath(const std::string& path);

/// The file with the document of a timeline: of an ".otiod" folder its content.otio. Absolute.
std::string TimelineFile(const std::string& path);

/// Reads a timeline.
/// @param path  an ".otio" file, or an ".otiod" folder with its content.otio
/// @throws DocumentError with what is wrong and where in the file
TimelineImport ImportTimeline(const std::string& path, const ImportOptions& options);

/// Reads a timeline out of memory.
/// @param text    the document
/// @param folder  where relative paths begin
TimelineImport ImportTimelineText(std::string text, const std::string& folder,
                                  const ImportOptions& options);

}  // namespace orlo::host::otio
