// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>

namespace orlo::host {

/// Calls @p work with each number below @p count, on up to @p jobs threads including this one. The
/// calls begin in the order of the numbers, and have all ended when the function returns. In the
/// calls, Interrupted polls the flag of this thread.
///
/// After a failure no other call begins.
/// @throws the failure of the lowest number, which is the failure of a loop on one thread
void InParallel(std::size_t count, int jobs, const std::function<void(std::size_t)>& work);

}  // namespace orlo::host
