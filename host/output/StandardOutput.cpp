// SPDX-License-Identifier: MIT
#include "host/output/StandardOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include "host/shell/Errors.h"

namespace orlo::host {

void CheckStandardOutput(bool json, const std::string& content) {
    if (json) {
        throw UsageError("--json prints to standard output, where -o - writes " + content +
                         "; leave out one of them");
    }
    if (fcntl(STDOUT_FILENO, F_GETFD) < 0) {
        throw JobError("cannot write to standard output: it is closed");
    }
    if (isatty(STDOUT_FILENO) == 0) return;
    throw UsageError("-o - would write " + content + " to the terminal; redirect standard output");
}

OutputStream OpenStandardOutput() {
    return {fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0), STANDARD_OUTPUT};
}

}  // namespace orlo::host
