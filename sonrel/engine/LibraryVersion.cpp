// SPDX-License-Identifier: MIT
#include "sonrel/engine/LibraryVersion.h"

#ifndef SONREL_VERSION
#error "The build defines SONREL_VERSION as the project's version."
#endif

namespace orlo::sonrel {

const char* LibraryVersion() {
    return SONREL_VERSION;
}

}  // namespace orlo::sonrel
