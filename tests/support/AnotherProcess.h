// SPDX-License-Identifier: MIT
#pragma once

#include <linux/capability.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <functional>

namespace sonrel_tests {

/// Runs @p work in another process.
/// @return its result, 0 to 90; 99 when it threw; -1 when a signal ended it
inline int InAnotherProcess(const std::function<int()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        try {
            _exit(work());
        } catch (const std::exception& error) {
            std::fprintf(stderr, "in the other process: %s\n", error.what());
        }
        _exit(99);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// The same as a user for whom permissions apply, which do not apply to root. @return 98 when
/// there is no such user
inline int AsAnyone(const std::function<int()>& work) {
    constexpr unsigned NOBODY = 65534;
    return InAnotherProcess([&] {
        if (getuid() == 0 && (setgid(NOBODY) != 0 || setuid(NOBODY) != 0)) return 98;
        return work();
    });
}

/// Runs @p work in another process. The programs that it starts may open only the files whose mode
/// allows it, also for root. Unlike AsAnyone it needs no folders that every user may enter.
inline int WithoutOverridingModes(const std::function<int()>& work) {
    return InAnotherProcess([&] {
        for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
            if (getuid() == 0 && prctl(PR_CAPBSET_DROP, capability) != 0) return 98;
        }
        return work();
    });
}

/// Another process that does some work and then waits until it is killed.
class WaitingProcess {
public:
    /// Returns when the work is done.
    explicit WaitingProcess(const std::function<void()>& work) {
        int ready[2];
        if (pipe(ready) != 0) return;
        child_ = fork();
        if (child_ == 0) {
            work();
            if (write(ready[1], "", 1) != 1) _exit(1);
            for (;;) pause();
        }
        close(ready[1]);
        char byte = 0;
        isReady_ = read(ready[0], &byte, 1) == 1;
        close(ready[0]);
    }
    ~WaitingProcess() { Kill(); }
    WaitingProcess(const WaitingProcess&) = delete;
    WaitingProcess& operator=(const WaitingProcess&) = delete;

    /// Whether the work was done.
    bool IsReady() const { return isReady_; }
    void Kill() {
        if (child_ <= 0) return;
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
        child_ = -1;
    }

private:
    pid_t child_ = -1;
    bool isReady_ = false;
};

}  // namespace sonrel_tests
