// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "sonrel/loudness/LoudnessMeter.h"

namespace orlo::host {

/// Length of a block of all meters of a mix: a tenth of a second.
int MeterBlockFrames(int rate);

/// The loudness at the end of a meter block, in LUFS; empty before the first 0.4 or 3 seconds, and
/// for digital silence.
struct LoudnessReading {
    std::optional<double> momentary;
    std::optional<double> shortTerm;
};

/// Measures the loudness and the true peak of a mix as it is written, and reads the loudness after
/// each meter block.
class LoudnessMeter {
public:
    /// @param rate  hertz
    explicit LoudnessMeter(int rate);

    /// @param frames  2 * count values, left first
    void Add(const short* frames, std::size_t count);

    /// The meter of the whole mix.
    const sonrel::LoudnessMeter& Meter() const { return meter_; }
    /// Integrated loudness in LUFS; empty when the whole mix is below the gate of -70 LUFS or
    /// shorter than one block of 0.4 seconds.
    std::optional<double> IntegratedLufs() const { return meter_.IntegratedLufs(); }
    /// True peak in dBTP; empty for silence.
    std::optional<double> TruePeakDb() const { return meter_.TruePeakDb(); }
    /// A reading for each meter block; the last block may be shorter than the others.
    std::vector<LoudnessReading> Readings() const;

private:
    LoudnessReading Reading() const;

    sonrel::LoudnessMeter meter_;
    std::size_t blockFrames_;
    std::size_t filled_ = 0;  ///< frames of the current block
    std::vector<LoudnessReading> readings_;
};

}  // namespace orlo::host
