// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::host {

/// Turns SIGINT and SIGTERM into a flag that the commands look at, so that a job stops between two
/// pieces of work and takes its half-made files with it. A second signal ends the program at once.
/// SIGPIPE and SIGXFSZ are ignored: a reader that goes away and a file beyond the size limit show
/// as failed writes.
void CatchInterrupts();

/// Whether the program was asked to stop. Any thread.
bool Interrupted();

/// Throws the CommandError of an interrupted job.
/// @param unfinished  what was left undone, as a clause: "nothing was written to out.wav"
[[noreturn]] void ThrowInterrupted(const std::string& unfinished);

}  // namespace orlo::host
