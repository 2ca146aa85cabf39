// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::host {

/// Holds the stop of Ctrl-Z (SIGTSTP) back while it lives, so that the program can first put the
/// terminal into its normal mode. A program whose caller ignores SIGTSTP ignores it here too.
///
/// Threads: one; at most one object at a time.
class Suspension {
public:
    Suspension();
    ~Suspension();
    Suspension(const Suspension&) = delete;
    Suspension& operator=(const Suspension&) = delete;

    /// Whether a stop is held back.
    bool IsRequested() const;
    /// Stops the program as Ctrl-Z does, and returns when it continues.
    void StopProgram();

private:
    bool active_ = false;
};

}  // namespace orlo::host
