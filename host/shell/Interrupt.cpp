// SPDX-License-Identifier: MIT
#include "host/shell/Interrupt.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <utility>

#include "host/json/Json.h"
#include "host/shell/Errors.h"
#include "host/shell/TemporaryFolder.h"

namespace orlo::host {

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the handler may only touch lock-free data");

/// The flag of the job of this thread.
thread_local std::atomic<bool>* flagOfJob = &interrupted;

void HandleSignal(int) {
    interrupted.store(true);
}

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

std::string InterruptClause(const std::string& unfinished) {
    return "interrupted: " + unfinished;
}

std::string ErrorReport(const std::string& clause) {
    return Json::Object({{"error", clause}}).ToIndentedText() + "\n";
}

std::atomic<const EndOnInterrupt*> endable{nullptr};
static_assert(std::atomic<const EndOnInterrupt*>::is_always_lock_free);

}  // namespace

void CatchInterrupts() {
    Handle(SIGINT, HandleSignal);
    Handle(SIGTERM, HandleSignal);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool Interrupted() {
    return flagOfJob->load();
}

std::atomic<bool>* InterruptFlag() {
    return flagOfJob;
}

InterruptFlagScope::InterruptFlagScope(std::atomic<bool>* flag)
    : outer_(std::exchange(flagOfJob, flag)) {}

InterruptFlagScope::~InterruptFlagScope() {
    flagOfJob = outer_;
}

void ThrowInterrupted(const std::string& unfinished) {
    throw CommandError(ExitCode::Interrupted, InterruptClause(unfinished));
}

EndOnInterrupt::EndOnInterrupt(const std::string& unfinished, bool json,
                               std::vector<std::string> incomplete)
    : line_("sonrel: " + InterruptClause(unfinished) + "\n"),
      report_(json ? ErrorReport(InterruptClause(unfinished)) : std::string()),
      incomplete_(std::move(incomplete)),
      error_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
    endable = this;
    Handle(SIGINT, HandleSignal);
    Handle(SIGTERM, HandleSignal);
    // An earlier signal, which only set the flag, ends the program too.
    if (Interrupted()) End();
}

EndOnInterrupt::~EndOnInterrupt() {
    CatchInterrupts();
    endable = nullptr;
    if (error_ >= 0) close(error_);
}

/// Calls only async-signal-safe functions.
void EndOnInterrupt::End() const {
    for (const std::string& file : incomplete_) unlink(file.c_str());
    RemoveTemporaryFolders();
    [[maybe_unused]] ssize_t written = write(STDOUT_FILENO, report_.data(), report_.size());
    written = write(error_, line_.data(), line_.size());
    _exit(static_cast<int>(ExitCode::Interrupted));
}

void EndOnInterrupt::HandleSignal(int) {
    if (const EndOnInterrupt* const ending = endable) ending->End();
}

}  // namespace orlo::host
