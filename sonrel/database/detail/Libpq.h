// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/database/detail/LibpqLibrary.h"
#include "sonrel/database/libpq/LibpqFunctions.h"

namespace orlo::project::libpq {

/// Calls a function of libpq, which LoadLibpq has loaded.
template <auto Member>
struct LibpqCall;

template <class Result, class... Arguments, Result (*LibpqFunctions::*Member)(Arguments...)>
struct LibpqCall<Member> {
    Result operator()(Arguments... arguments) const {
        return (LoadedLibpq().*Member)(arguments...);
    }
};

// In this namespace the name of a function of libpq is a call of the loaded function. The library
// links no function of libpq.
#define SONREL_CALL(name) inline constexpr LibpqCall<&LibpqFunctions::name> name;
SONREL_LIBPQ_FUNCTIONS(SONREL_CALL)
#undef SONREL_CALL

struct ConnectionCloser {
    void operator()(PGconn* connection) const { PQfinish(connection); }
};
struct ResultClearer {
    void operator()(PGresult* result) const { PQclear(result); }
};

using ConnectionPtr = std::unique_ptr<PGconn, ConnectionCloser>;
using ResultPtr = std::unique_ptr<PGresult, ResultClearer>;

}  // namespace orlo::project::libpq
