// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <string>
#include <vector>

namespace orlo::host {

/// Makes SIGINT and SIGTERM set a flag that the commands poll: a job then stops between two pieces
/// of work and removes its incomplete files. A second signal ends the program at once. SIGPIPE and
/// SIGXFSZ are ignored: a closed pipe and a file beyond the size limit are reported as failed
/// writes.
void CatchInterrupts();

/// Whether the program, or the job of this thread, was asked to stop. Any thread.
bool Interrupted();

/// The flag, for operations of the engine that poll a flag, and for other threads of the same job.
/// The program never clears it.
std::atomic<bool>* InterruptFlag();

/// Gives the job of this thread a separate flag, which Interrupted polls instead of the flag of the
/// signals. For jobs that run next to each other and are stopped one by one.
class InterruptFlagScope {
public:
    /// @param flag  outlives the object
    explicit InterruptFlagScope(std::atomic<bool>* flag);
    /// Restores the former flag. Call on the thread that made the object.
    ~InterruptFlagScope();
    InterruptFlagScope(const InterruptFlagScope&) = delete;
    InterruptFlagScope& operator=(const InterruptFlagScope&) = delete;

private:
    std::atomic<bool>* const outer_;
};

/// Throws the CommandError of an interrupted job.
/// @param unfinished  the missing result as a clause: "nothing was written to out.wav"
[[noreturn]] void ThrowInterrupted(const std::string& unfinished);

/// While an object exists, the first SIGINT or SIGTERM ends the program at once. For calls that may
/// block without a limit or run long without polling the flag. Exit code and message are the same
/// as of ThrowInterrupted. Temporary folders are removed. Only a single object may exist at a time.
class EndOnInterrupt {
public:
    /// @param unfinished  as in ThrowInterrupted
    /// @param json        whether to print the message to standard output as JSON too
    /// @param incomplete  files to remove; empty names are ignored
    EndOnInterrupt(const std::string& unfinished, bool json,
                   std::vector<std::string> incomplete = {});
    ~EndOnInterrupt();
    EndOnInterrupt(const EndOnInterrupt&) = delete;
    EndOnInterrupt& operator=(const EndOnInterrupt&) = delete;

private:
    void End() const;
    static void HandleSignal(int);

    const std::string line_;
    const std::string report_;
    const std::vector<std::string> incomplete_;
    const int error_;  ///< copy of the current standard error
};

}  // namespace orlo::host
