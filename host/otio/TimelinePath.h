// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// The names of timelines.
namespace orlo::host::otio {

/// The format of a timeline.
enum class TimelineFormat {
    None,            ///< it is not a timeline
    Otio,            ///< a document
    Otiod,           ///< a folder with a document and its media
    Otioz,           ///< a ZIP archive with the content of such a folder
    Edl,             ///< CMX 3600
    FinalCut7,       ///< XML of Final Cut Pro 7
    FinalCutX,       ///< XML of Final Cut Pro X
    FinalCutXFolder  ///< a folder with such an XML file
};

/// The format of a path, by its extension in upper or lower case.
TimelineFormat FormatOf(const std::string& path);

/// Whether a path has the extension of a timeline.
bool IsTimelinePath(const std::string& path);

/// Absolute path of the document of a timeline: in an ".otiod" folder its content.otio, in an
/// ".fcpxmld" folder its Info.fcpxml.
std::string TimelineFile(const std::string& path);

}  // namespace orlo::host::otio
