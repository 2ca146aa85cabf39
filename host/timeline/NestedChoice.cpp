// SPDX-License-Identifier: MIT
#include "host/timeline/NestedChoice.h"

#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

const otio::PlacedClip* FindComposition(const otio::Arrangement& arrangement,
                                        const std::string& input,
                                        const std::optional<std::string>& name) {
    if (!name) return nullptr;
    const otio::PlacedClip* item = otio::FindNested(arrangement.tracks, *name);
    if (item == nullptr) {
        throw UsageError("the timeline " + Quoted(input) + " has no nested item " + Quoted(*name) +
                         "; 'sonrel info' lists their names");
    }
    return item;
}

}  // namespace orlo::host
