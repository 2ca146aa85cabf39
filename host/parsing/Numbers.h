// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "host/json/Json.h"

namespace orlo::host::otio {

/// The number that a program stored as a JSON number, as a text such as "-0.5" or "1e-05", or as a
/// fraction such as "1/4". @return nullopt for any other value, and for numbers that are not finite
std::optional<double> NumberIn(const Json& value);

}  // namespace orlo::host::otio
