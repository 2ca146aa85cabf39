// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::host {

/// The state of a step, for a line of the terminal.
struct ProgressState {
    std::string step;  ///< name of the step: "mix"
    std::string file;  ///< name of the current file; may be empty
    std::string unit;  ///< unit of the counts: "blocks"
    long long done = 0;
    long long total = 0;
    double unitsPerSecond = 0.0;  ///< of sound; 0 when the counts are not a time
    double secondsLeft = -1.0;    ///< below 0: not known
};

/// A line with the step, a bar and the percentage. Wider terminals also have room for the remaining
/// time, the file, and the finished and the whole time of the sound.
/// @param columns  of the terminal; the line leaves the last one free
std::string ProgressLine(const ProgressState& state, int columns);

}  // namespace orlo::host
