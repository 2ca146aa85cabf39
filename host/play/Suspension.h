// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::host {

/// Defers the stop by Ctrl-Z (SIGTSTP) during its lifetime, so that the program can first restore
/// the normal modes of the terminal. When the caller of the program ignores SIGTSTP, the program
/// ignores it too.
///
/// Threads: one; at most one object at a time.
class Suspension {
public:
    Suspension();
    ~Suspension();
    Suspension(const Suspension&) = delete;
    Suspension& operator=(const Suspension&) = delete;

    /// Whether a stop is pending.
    bool IsRequested() const;
    /// Stops the program as Ctrl-Z does. Returns when the program is continued.
    void StopProgram();

private:
    bool active_ = false;
};

}  // namespace orlo::host
