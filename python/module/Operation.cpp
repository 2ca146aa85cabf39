// SPDX-License-Identifier: MIT
#include "python/module/Operation.h"

#include <unistd.h>

#include <chrono>
#include <new>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "host/process/SystemLimits.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "sonrel/media/input/InterruptScope.h"

namespace py = pybind11;

namespace orlo::python {

namespace {

/// Maximum delay of a cancellation.
constexpr std::chrono::milliseconds POLL_INTERVAL{20};
/// Maximum time that the end of the interpreter waits for progress functions.
constexpr std::chrono::seconds EXIT_TIMEOUT{5};

/// The text of an exception that has no class in the module.
std::exception_ptr AsJobError(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const host::CommandError&) {
        return failure;
    } catch (const std::bad_alloc&) {
        return failure;
    } catch (const std::system_error& error) {
        return std::make_exception_ptr(host::JobError(host::SystemErrorText(error)));
    } catch (const std::exception& error) {
        return std::make_exception_ptr(host::JobError(error.what()));
    }
}

class Operation;

thread_local const Operation* worked = nullptr;     // whose work this thread does
thread_local const Operation* reporting = nullptr;  // whose progress function this thread runs

/// One running operation.
class Operation {
public:
    Operation(const Controls& controls, const Work& work)
        : controls_(controls), work_(work), outer_(reporting) {}

    void Run() {
        std::thread worker([this] { DoWork(); });
        {
            const py::gil_scoped_release released;
            Wait();
            worker.join();
        }
        if (raised_) std::rethrow_exception(raised_);
        if (failure_) std::rethrow_exception(AsJobError(failure_));
    }

    void Stop() { stop_ = true; }

    /// The operation whose progress function has started this operation; null for none.
    const Operation* Outer() const { return outer_; }

private:
    // On the worker thread.

    void DoWork() {
        worked = this;
        try {
            const host::InterruptFlagScope flag(&stop_);
            const zrh::media::InterruptScope stopMedia([this] { return stop_.load(); });
            host::Progress progress(controls_.progress.is_none() ? host::Progress::Observer()
                                                                 : ObserverOfWorker());
            work_(progress);
        } catch (...) {
            failure_ = std::current_exception();
        }
        const std::lock_guard lock(mutex_);
        hasEnded_ = true;
        changed_.notify_all();
    }

    host::Progress::Observer ObserverOfWorker() {
        return [this](const host::ProgressState& state) {
            std::unique_lock lock(mutex_);
            if (stop_) return;
            event_ = &state;
            changed_.notify_all();
            changed_.wait(lock, [this] { return event_ == nullptr; });
        };
    }

    // On the calling thread, without the interpreter lock.

    void Wait() {
        std::unique_lock lock(mutex_);
        while (!hasEnded_) {
            changed_.wait_for(lock, POLL_INTERVAL,
                              [this] { return hasEnded_ || event_ != nullptr; });
            if (controls_.cancel && controls_.cancel->IsCancelled()) Stop();
            const host::ProgressState* const event = event_;
            if (hasEnded_) continue;
            lock.unlock();
            Attend(event);
            lock.lock();
            if (event == nullptr) continue;
            event_ = nullptr;
            changed_.notify_all();
        }
    }

    /// Handles signals, and delivers an event. The first exception stops the operation.
    void Attend(const host::ProgressState* event) {
        const bool isDue = event != nullptr && !stop_;
        if (!isDue && !IsMainThread()) return;
        const py::gil_scoped_acquire lock;
        try {
            if (PyErr_CheckSignals() != 0) throw py::error_already_set();
            if (isDue) Deliver(*event);
        } catch (py::error_already_set&) {
            if (!raised_) raised_ = std::current_exception();
            Stop();
        }
    }

    void Deliver(const host::ProgressState& state) const {
        const Operation* const outer = std::exchange(reporting, this);
        try {
            controls_.progress(state.step, state.done, state.total, state.file);
        } catch (py::error_already_set&) {
            reporting = outer;
            throw;
        }
        reporting = outer;
    }

    static bool IsMainThread() { return gettid() == getpid(); }

    const Controls& controls_;
    const Work& work_;
    const Operation* const outer_;
    std::atomic<bool> stop_{false};
    std::mutex mutex_;
    std::condition_variable changed_;
    const host::ProgressState* event_ = nullptr;  // guarded; set while the worker waits
    bool hasEnded_ = false;                       // guarded
    std::exception_ptr failure_;                  // of the work
    std::exception_ptr raised_;                   // of Python, on the calling thread
};

/// The running operations of the process.
///
/// Threads: with the interpreter lock, except the wait.
class OperationList {
public:
    void Add(Operation* operation) {
        const std::lock_guard lock(mutex_);
        ForgetOtherProcess();
        if (isClosed_) {
            throw host::JobError("Python is shutting down: no operation can start");
        }
        running_.insert(operation);
    }

    void Remove(Operation* operation) {
        const std::lock_guard lock(mutex_);
        running_.erase(operation);
        removed_.notify_all();
    }

    bool CloseAndWait() {
        const py::gil_scoped_release released;
        std::unique_lock lock(mutex_);
        ForgetOtherProcess();
        isClosed_ = true;
        for (Operation* operation : running_) operation->Stop();
        return removed_.wait_for(lock, EXIT_TIMEOUT, [this] { return running_.empty(); });
    }

private:
    /// A forked child has the list of its parent, and none of the threads.
    void ForgetOtherProcess() {
        if (process_ == getpid()) return;
        process_ = getpid();
        running_.clear();
    }

    std::mutex mutex_;
    std::condition_variable removed_;
    std::set<Operation*> running_;
    pid_t process_ = getpid();
    bool isClosed_ = false;
};

/// Never destroyed: threads may use it while the process ends.
OperationList& Operations() {
    static auto* const LIST = new OperationList;
    return *LIST;
}

class ListedOperation {
public:
    explicit ListedOperation(Operation& operation) : operation_(operation) {
        Operations().Add(&operation_);
    }
    ~ListedOperation() { Operations().Remove(&operation_); }
    ListedOperation(const ListedOperation&) = delete;
    ListedOperation& operator=(const ListedOperation&) = delete;

private:
    Operation& operation_;
};

}  // namespace

void Run(const Controls& controls, const Work& work) {
    if (controls.cancel && controls.cancel->IsCancelled()) {
        host::ThrowInterrupted("the operation was cancelled before it started");
    }
    Operation operation(controls, work);
    const ListedOperation listed(operation);
    operation.Run();
}

const void* CurrentOperation() {
    return worked;
}

bool IsWaitingForThisThread(const void* operation) {
    const Operation* waiting = worked != nullptr ? worked->Outer() : reporting;
    while (waiting != nullptr && waiting != operation) waiting = waiting->Outer();
    return waiting != nullptr;
}

bool StopAllOperations() {
    return Operations().CloseAndWait();
}

}  // namespace orlo::python
