// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <string>
#include <vector>

namespace orlo::host {

/// Turns SIGINT and SIGTERM into a flag that the commands look at, so that a job stops between two
/// pieces of work and takes its half-made files with it. A second signal ends the program at once.
/// SIGPIPE and SIGXFSZ are ignored: a reader that goes away and a file beyond the size limit show
/// as failed writes.
void CatchInterrupts();

/// Whether the program was asked to stop. Any thread.
bool Interrupted();

/// The flag itself, for calls of the engine that look at one. The program never clears it.
std::atomic<bool>* InterruptFlag();

/// Throws the CommandError of an interrupted job.
/// @param unfinished  what was left undone, as a clause: "nothing was written to out.wav"
[[noreturn]] void ThrowInterrupted(const std::string& unfinished);

/// Lets the first SIGINT or SIGTERM end the program at once while it lives, for a call that may
/// wait without a limit or takes long without asking. The exit code and the line are those of
/// ThrowInterrupted. One at a time.
class EndOnInterrupt {
public:
    /// @param unfinished  as of ThrowInterrupted
    /// @param json        whether the line goes to standard output as JSON too
    /// @param halfMade    files to remove; an empty name is none
    EndOnInterrupt(const std::string& unfinished, bool json,
                   std::vector<std::string> halfMade = {});
    ~EndOnInterrupt();
    EndOnInterrupt(const EndOnInterrupt&) = delete;
    EndOnInterrupt& operator=(const EndOnInterrupt&) = delete;

private:
    void End() const;
    static void HandleSignal(int);

    const std::string line_;
    const std::string report_;
    const std::vector<std::string> halfMade_;
    const int error_;  ///< standard error as it is now
};

}  // namespace orlo::host
