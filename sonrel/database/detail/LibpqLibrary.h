// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::project::libpq {

struct LibpqFunctions;

/// Loads libpq, unless it is loaded. It stays loaded until the process ends. After a failure the
/// next call tries again.
///
/// Threads: any.
/// @param failure  receives the reason of a failure
/// @return null on failure
/// @throws std::bad_alloc
const LibpqFunctions* LoadLibpq(std::string* failure);

/// The functions, after LoadLibpq has succeeded.
const LibpqFunctions& LoadedLibpq();

/// Finds the functions: in a module, or in the program where libpq is linked.
/// @param failure  receives the reason of a failure
/// @return null on failure
const LibpqFunctions* FindLibpqFunctions(std::string* failure);

}  // namespace orlo::project::libpq
