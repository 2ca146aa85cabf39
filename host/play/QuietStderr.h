// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::host {

/// Discards writes to standard error during its lifetime. The system's sound libraries print there
/// when a device does not open; the program prints its own message for that.
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
