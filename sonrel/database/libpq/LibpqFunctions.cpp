// SPDX-License-Identifier: MIT
#include "sonrel/database/libpq/LibpqFunctions.h"

const orlo::project::libpq::LibpqFunctions* SonrelLibpqFunctions() {
    static constexpr orlo::project::libpq::LibpqFunctions FUNCTIONS = {
#define SONREL_ADDRESS(name) &::name,
        SONREL_LIBPQ_FUNCTIONS(SONREL_ADDRESS)
#undef SONREL_ADDRESS
    };
    return &FUNCTIONS;
}
