// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "host/shell/Progress.h"
#include "host/shell/ProgressLine.h"

namespace orlo::python {

/// Stops operations from another thread.
///
/// Threads: any.
class Cancellation {
public:
    void Cancel() { requested_ = true; }
    bool IsCancelled() const { return requested_; }

private:
    std::atomic<bool> requested_{false};
};

/// The arguments of every long operation.
struct Controls {
    pybind11::object progress;             ///< a callable, or None
    std::shared_ptr<Cancellation> cancel;  ///< may be empty
};

/// The work of an operation. It runs on a separate thread without the interpreter lock.
using Work = std::function<void(host::Progress& progress)>;

/// Runs work on a separate thread, and waits for it without the interpreter lock. The calling
/// thread takes the lock to call the progress function, which the work waits for, and to handle
/// signals. An exception of either stops the work and leaves the function once the work has ended.
///
/// Call with the interpreter lock.
/// @throws host::CommandError; pybind11::error_already_set; std::bad_alloc
void Run(const Controls& controls, const Work& work);

/// The operation whose work this thread does, as an identity; null outside of work.
const void* CurrentOperation();

/// Whether an operation waits for this thread: its progress function has started the operation of
/// this thread, or runs on this thread.
/// @param operation  a result of CurrentOperation; null gives false
bool IsWaitingForThisThread(const void* operation);

/// Refuses new operations, stops the running operations and waits for their end. Operations whose
/// progress function does not return within five seconds are abandoned.
///
/// Call with the interpreter lock, before the interpreter ends.
/// @return whether all operations have ended
bool StopAllOperations();

}  // namespace orlo::python
