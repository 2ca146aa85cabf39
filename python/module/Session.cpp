// SPDX-License-Identifier: MIT
#include "python/module/Session.h"

#include <chrono>
#include <vector>

#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "python/module/Operation.h"

namespace orlo::python {

namespace {

constexpr std::chrono::milliseconds LOCK_POLL_INTERVAL{20};

/// Never destroyed: a session may end while the process ends.
std::vector<std::weak_ptr<Session>>& Sessions() {
    static auto* const LIST = new std::vector<std::weak_ptr<Session>>;
    return *LIST;
}

}  // namespace

Session::Session(const host::GlobalOptions& options)
    : options_(options), engine_(std::make_unique<host::EngineSession>(options)) {}

Session::Use::Use(Session& session) : session_(session) {
    if (!session.engine_.IsHere()) {
        throw host::JobError(
            "the session was opened in another process; open a session in each process");
    }
    lock_ = std::unique_lock(session.mutex_, std::defer_lock);
    while (!lock_.try_lock_for(LOCK_POLL_INTERVAL)) {
        session.RefuseProgressFunction();
        if (host::Interrupted()) host::ThrowInterrupted("another operation uses the session");
    }
    engine_ = session.engine_.Get();
    if (engine_ == nullptr) throw host::JobError("the session is closed; open another session");
    session.user_ = CurrentOperation();
}

void Session::Close() {
    if (!engine_.IsHere()) return;
    RefuseProgressFunction();
    const std::lock_guard lock(mutex_);
    isOpen_ = false;
    engine_.Reset();
}

/// The operation would wait for its progress function, and the function for the operation.
void Session::RefuseProgressFunction() const {
    if (!IsWaitingForThisThread(user_)) return;
    throw host::JobError(
        "a progress function cannot use or close the session of its operation; use another "
        "session");
}

void Register(const std::shared_ptr<Session>& session) {
    std::vector<std::weak_ptr<Session>>& list = Sessions();
    std::erase_if(list, [](const std::weak_ptr<Session>& other) { return other.expired(); });
    list.push_back(session);
}

void CloseAllSessions() {
    for (const std::weak_ptr<Session>& entry : Sessions()) {
        if (const std::shared_ptr<Session> session = entry.lock()) session->Close();
    }
}

}  // namespace orlo::python
