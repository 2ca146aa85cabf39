// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/json/Json.h"
#include "host/otio/MediaResolver.h"

namespace orlo::host::otio {

/// File names of an image sequence: a number between prefix and suffix.
struct ImageNames {
    std::string prefix;
    std::string suffix;
};

/// A local file that a timeline references, with or without sound.
struct ReferencedMedia {
    std::string path;
    std::string use;                   ///< "clip 'take' on track 2"
    std::optional<ImageNames> images;  ///< set for an image sequence: path is its folder
};

/// The local files that a whole document references: on tracks of every kind, in disabled and
/// nested clips, and in inactive media references. Each target URL once, with its first use.
std::vector<ReferencedMedia> ReferencedMediaOf(const Json& document, const MediaResolver& resolver);

}  // namespace orlo::host::otio
