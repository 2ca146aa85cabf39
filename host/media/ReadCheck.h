// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/timeline/Positions.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::host {

/// Notices media that an engine could not read and mixed as silence.
///
/// Threads: any, as long as the mixer lives.
class ReadCheck {
public:
    /// Counts from now on.
    /// @param grid  of the timeline that is mixed, or of the media file that is read
    ReadCheck(sonrel::AudioMixer& mixer, const FrameGrid& grid)
        : mixer_(mixer), grid_(grid), mark_(mixer.MarkFailedReads()) {}

    /// A clause that names the first media file that could not be read, and where; empty when
    /// everything was read.
    std::string ErrorMessage() const;
    /// The same in a few words, for a line of the terminal: "read error at 00:00:01:10: 'a.wav'".
    std::string Notice() const;
    /// @throws JobError with the clause
    void RequireAll() const;

private:
    const sonrel::AudioMixer& mixer_;
    FrameGrid grid_;
    unsigned long long mark_;
};

}  // namespace orlo::host
