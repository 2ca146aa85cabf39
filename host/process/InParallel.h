// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>

namespace orlo::host {

/// Calls @p work with each number from 0 to @p count, excluded, on up to @p jobs threads. This
/// thread is one of them. The calls begin in the order of the numbers, poll the interrupt flag of
/// this thread, and have all ended when the function returns.
///
/// After a failure no other call begins.
/// @throws the failure of the lowest number, which is the failure of a loop on one thread
void InParallel(std::size_t count, int jobs, const std::function<void(std::size_t)>& work);

}  // namespace orlo::host
