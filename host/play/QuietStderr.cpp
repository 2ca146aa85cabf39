// SPDX-License-Identifier: MIT
#include "host/play/QuietStderr.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace orlo::host {

QuietStderr::QuietStderr() {
    const int devNull = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (devNull < 0) return;
    std::fflush(stderr);
    former_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    if (former_ >= 0) dup2(devNull, STDERR_FILENO);
    close(devNull);
}

QuietStderr::~QuietStderr() {
    if (former_ < 0) return;
    std::fflush(stderr);
    dup2(former_, STDERR_FILENO);
    close(former_);
}

}  // namespace orlo::host
