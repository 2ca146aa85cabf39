// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include "host/media/EngineSession.h"
#include "host/options/GlobalOptions.h"

namespace orlo::python {

/// Owns an object in the process that made it. In a forked child the object is never destroyed: its
/// threads do not exist there, and its state may be incomplete.
template <class Object>
class ProcessOwned {
public:
    explicit ProcessOwned(std::unique_ptr<Object> object) : object_(std::move(object)) {}
    ~ProcessOwned() {
        if (!IsHere()) static_cast<void>(object_.release());
    }
    ProcessOwned(const ProcessOwned&) = delete;
    ProcessOwned& operator=(const ProcessOwned&) = delete;

    /// Whether this process made the object.
    bool IsHere() const { return getpid() == process_; }
    Object* Get() const { return object_.get(); }
    /// Destroys the object, in the process that made it.
    void Reset() {
        if (IsHere()) object_.reset();
    }

private:
    const pid_t process_ = getpid();
    std::unique_ptr<Object> object_;
};

/// An engine with its cache, shared by the projects that were opened in it.
///
/// Threads: any; one operation at a time uses the engine.
class Session {
public:
    /// @param options  of all operations; the rates and media roots of a timeline are separate
    explicit Session(const host::GlobalOptions& options);

    const host::GlobalOptions& Options() const { return options_; }
    /// Whether operations can use the engine: not after Close, and not in another process.
    bool IsOpen() const { return isOpen_ && engine_.IsHere(); }

    /// Use of the engine by one operation.
    class Use {
    public:
        /// Waits for the operations of other threads.
        /// @throws JobError when the session is closed or belongs to another process, and in a
        ///         progress function of an operation that uses the session; CommandError when the
        ///         operation is stopped
        explicit Use(Session& session);
        ~Use() { session_.user_ = nullptr; }
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

        const host::EngineSession& Engine() const { return *engine_; }

    private:
        Session& session_;
        std::unique_lock<std::timed_mutex> lock_;
        const host::EngineSession* engine_ = nullptr;
    };

    /// Waits for the running operation and releases the engine. Does nothing on a closed session.
    /// @throws JobError in a progress function of an operation that uses the session
    void Close();

private:
    const host::GlobalOptions options_;
    void RefuseProgressFunction() const;

    std::timed_mutex mutex_;                  // held while an operation uses the engine
    std::atomic<const void*> user_{nullptr};  // this operation
    ProcessOwned<host::EngineSession> engine_;
    std::atomic<bool> isOpen_{true};
};

/// Adds a session to the sessions that CloseAllSessions closes. Call with the interpreter lock.
void Register(const std::shared_ptr<Session>& session);

/// Closes all sessions. Call without the interpreter lock, when no other operation can run.
void CloseAllSessions();

}  // namespace orlo::python
