// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace orlo::host {

/// A value that decides the samples of a mix, in the manifests of mixes and of parts.
struct MixValue {
    const char* key;
    const char* name;              ///< in messages; an option where one sets the value
    bool dependsOnSource = false;  ///< it may follow from the timeline and the media files too
};

/// All values, in the order of messages.
const std::vector<MixValue>& MixValueList();

}  // namespace orlo::host
