// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/json/Json.h"
#include "host/otio/MediaResolver.h"

namespace orlo::host::otio {

/// The names of a sequence of images: a number between two texts.
struct ImageNames {
    std::string prefix;
    std::string suffix;
};

/// A local file that a timeline names, whether it sounds or not.
struct ReferencedMedia {
    std::string path;
    std::string use;                   ///< "clip 'take' on track 2"
    std::optional<ImageNames> images;  ///< the path is then the folder of the images
};

/// The local files of a whole document: of tracks of every kind, disabled and nested clips, and
/// references that are not the active ones. Each target URL once, with its first use.
std::vector<ReferencedMedia> ReferencedMediaOf(const Json& document, const MediaResolver& resolver);

}  // namespace orlo::host::otio
