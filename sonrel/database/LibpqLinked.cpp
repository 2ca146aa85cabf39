// SPDX-License-Identifier: MIT
// libpq of a program that links it together with the project library.
#include "sonrel/database/detail/LibpqLibrary.h"
#include "sonrel/database/libpq/LibpqFunctions.h"

namespace orlo::project::libpq {

const LibpqFunctions* FindLibpqFunctions(std::string*) {
    return SonrelLibpqFunctions();
}

}  // namespace orlo::project::libpq
