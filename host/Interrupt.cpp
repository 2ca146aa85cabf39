// SPDX-License-Identifier: MIT
#include "host/Interrupt.h"

#include <atomic>
#include <csignal>

#include "host/Errors.h"

namespace orlo::host {

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the handler may only touch lock-free data");

void HandleSignal(int) {
    interrupted.store(true);
}

}  // namespace

void CatchInterrupts() {
    struct sigaction action = {};
    action.sa_handler = HandleSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool Interrupted() {
    return interrupted.load();
}

void ThrowInterrupted(const std::string& unfinished) {
    throw CommandError(ExitCode::Interrupted, "interrupted: " + unfinished);
}

}  // namespace orlo::host
