// SPDX-License-Identifier: MIT
#include "host/play/Suspension.h"

#include <signal.h>

#include <atomic>

namespace orlo::host {

namespace {

std::atomic<bool> requested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the handler may only touch lock-free data");

void HandleStop(int) {
    requested.store(true);
}

void SetHandler(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGTSTP, &action, nullptr);
}

}  // namespace

Suspension::Suspension() {
    struct sigaction former = {};
    sigaction(SIGTSTP, nullptr, &former);
    active_ = former.sa_handler == SIG_DFL;
    if (active_) SetHandler(HandleStop);
}

Suspension::~Suspension() {
    if (!active_) return;
    SetHandler(SIG_DFL);
    // Delivers a stop that arrived after the last check.
    if (requested.exchange(false)) raise(SIGTSTP);
}

bool Suspension::IsRequested() const {
    return requested.load();
}

void Suspension::StopProgram() {
    requested = false;
    SetHandler(SIG_DFL);
    raise(SIGTSTP);
    SetHandler(HandleStop);
}

}  // namespace orlo::host
