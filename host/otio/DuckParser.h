// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Parses the ducking of a track by another: {"by": NAME, "parameters": {...}}.
/// @return nullopt when it is skipped, which is then reported
std::optional<DuckRequest> ParseDuck(const Json& value, const SourceLocation& place,
                                     ImportReport& report);

}  // namespace orlo::host::otio
