// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel::detail {

/// The interpolator of the true peak: a sinc of 49 taps with a Hann window, split into a short
/// filter for each phase. Phase 0 has the samples themselves. The other phases mirror each other,
/// so that they are computed from sums and differences of two samples at the same distance from
/// the middle.
struct PeakFilter {
    static constexpr int MAX_PAIRS = 12;

    int phases = 1;  ///< values for each sample: 1, 2 or 4
    int pairs = 0;   ///< half the taps of a phase
    /// The phase in the middle between two samples: factors of the sums.
    float middle[MAX_PAIRS] = {};
    /// With four phases, the phase before the middle: factors of the sums and of the differences.
    /// The phase after the middle has the same factors with the differences negated.
    float side[MAX_PAIRS] = {};
    float sideDifference[MAX_PAIRS] = {};
    /// Upper limit of the ratio of an interpolated value to the largest sample, and the share of
    /// the taps outside the innermost third in it.
    float gain = 1.0f;
    float outerGain = 0.0f;

    explicit PeakFilter(int rate);
};

/// Finds the true peak of a stereo signal.
class TruePeak {
public:
    /// Frames before the added frames.
    static constexpr int HISTORY = 64;

    explicit TruePeak(int rate) : filter_(rate) {}

    /// @param frames  2 * count values, left first, after 2 * HISTORY values of the frames before
    ///                them, zeros at the start
    /// @param count   above 0
    void Add(const short* frames, int count);

    /// The largest magnitude so far; full scale 32768.
    float Peak() const { return peak_; }

private:
    PeakFilter filter_;
    float peak_ = 0.0f;
};

}  // namespace orlo::sonrel::detail
