// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>

#include "host/mix/TruePeakSearch.h"

namespace orlo::host {

/// Measures the loudness and the true peak of a stereo mix as it is written.
class LoudnessMeter {
public:
    /// @param rate  hertz
    explicit LoudnessMeter(int rate);

    /// @param frames  2 * count values, left first
    void Add(const short* frames, std::size_t count);

    /// Integrated loudness in LUFS; empty when the whole mix is below the gate of -70 LUFS or
    /// shorter than one block of 0.4 seconds.
    std::optional<double> IntegratedLufs() const;
    /// True peak in dBTP; empty for silence.
    std::optional<double> TruePeakDb() const;

private:
    LoudnessState state_;
    TruePeakSearch peak_;
};

}  // namespace orlo::host
