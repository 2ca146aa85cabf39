// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/otio/ImportReport.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// Makes a command with --strict fail when the report of a timeline has an entry. An outcome that
/// has failed already does not change.
/// @param input        name of the timeline
/// @param consequence  beginning of the message, such as "nothing was written: "; may be empty
void FailOnEntries(const std::string& input, const otio::ImportReport& report,
                   const std::string& consequence, Outcome& outcome);

}  // namespace orlo::host
