// SPDX-License-Identifier: MIT
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <functional>

namespace sonrel_tests {

/// Runs @p work in another process.
/// @return its answer, 0 to 90; 99 when it threw; -1 when a signal ended it
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

/// The same for a user whom permissions bind, as they do not bind root. @return 98 when there is
/// none
inline int AsAnyone(const std::function<int()>& work) {
    constexpr unsigned NOBODY = 65534;
    return InAnotherProcess([&] {
        if (getuid() == 0 && (setgid(NOBODY) != 0 || setuid(NOBODY) != 0)) return 98;
        return work();
    });
}

}  // namespace sonrel_tests
