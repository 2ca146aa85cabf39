// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::host {

/// Drops what is written to standard error while it lives. The system's sound libraries print there
/// when a device does not open; the program has a line of its own for that.
class QuietStderr {
public:
    QuietStderr();
    ~QuietStderr();
    QuietStderr(const QuietStderr&) = delete;
    QuietStderr& operator=(const QuietStderr&) = delete;

private:
    int former_ = -1;
};

}  // namespace orlo::host
