// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/base/Export.h"

namespace orlo::sonrel {

/// The version of the library that is loaded: "1.2.3". It may be later than the version that the
/// program was built with.
SONREL_EXPORT const char* LibraryVersion();

}  // namespace orlo::sonrel
