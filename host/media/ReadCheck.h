// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/timeline/Positions.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::host {

/// Detects media files that an engine could not read and mixed as silence.
///
/// Threads: any, as long as the mixer lives.
class ReadCheck {
public:
    /// Checks reads from now on.
    /// @param grid  grid of the timeline that is mixed, or of the media file that is read
    ReadCheck(sonrel::AudioMixer& mixer, const FrameGrid& grid)
        : mixer_(mixer), grid_(grid), mark_(mixer.MarkFailedReads()) {}

    /// A clause that names the first media file that could not be read, and the timecode; empty
    /// without a read failure.
    std::string ErrorMessage() const;
    /// A short version for a line of the terminal: "read error at 00:00:01:10: 'a.wav'".
    std::string Notice() const;
    /// Throws the clause as a JobError after a read failure.
    void RequireAll() const;

private:
    const sonrel::AudioMixer& mixer_;
    FrameGrid grid_;
    unsigned long long mark_;
};

}  // namespace orlo::host
