// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "host/arrangement/Arrangement.h"

namespace orlo::host {

/// The nested item that --composition names; null without a name.
/// @param input  name of the timeline, for the message
/// @throws UsageError when no item has the name
const otio::PlacedClip* FindComposition(const otio::Arrangement& arrangement,
                                        const std::string& input,
                                        const std::optional<std::string>& name);

}  // namespace orlo::host
