// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/arrangement/TimelineImport.h"
#include "tests/host/TimelineDocument.h"

namespace sonrel_tests {

/// The options of an import whose cuts are on whole frames of the timeline.
inline orlo::host::otio::ImportOptions OnWholeFrames() {
    orlo::host::otio::ImportOptions options;
    options.rates.grid = 1;
    return options;
}

/// Imports a document with /edit as the folder of its relative paths.
inline orlo::host::otio::TimelineImport Import(
    const Json& document, const orlo::host::otio::ImportOptions& options = OnWholeFrames()) {
    return orlo::host::otio::ImportTimelineText(document.dump(), "/edit", options);
}

/// The only clip of the first track.
inline orlo::host::otio::PlacedClip OnlyClip(const orlo::host::otio::TimelineImport& import) {
    return import.arrangement.tracks.at(0).clips.at(0);
}

/// Number of parts of kind @p what that the import reports with a reason that contains @p reason.
inline int Reported(const orlo::host::otio::TimelineImport& import, const std::string& what,
                    const std::string& reason = "") {
    int count = 0;
    for (const auto& entry : import.report.Entries()) {
        if (entry.what == what && entry.reason.find(reason) != std::string::npos) {
            count += entry.count;
        }
    }
    return count;
}

}  // namespace sonrel_tests
