// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace sonrel_bench {

/// Calls of operator new so far, in all threads of the program that links the counter.
std::size_t Allocations();

}  // namespace sonrel_bench
