// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "host/otio/MediaResolver.h"

namespace orlo::host::otio {

/// A local file that a timeline names, whether it sounds or not.
struct ReferencedMedia {
    std::string path;
    std::string use;  ///< "clip 'take' on track 2"
};

/// The local files of a whole document: of tracks of every kind, disabled and nested clips, and
/// references that are not the active ones. Each target URL once, with its first use.
std::vector<ReferencedMedia> ReferencedMediaOf(const nlohmann::json& document,
                                               const MediaResolver& resolver);

}  // namespace orlo::host::otio
