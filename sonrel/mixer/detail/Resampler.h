// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace orlo::sonrel::detail {

struct ResamplerImpl;

/// The interpolator for speeds other than 1: a windowed sinc of 49 taps on stereo 16-bit samples.
///
/// The output is defined to the bit by one formula in double precision (see ResampleFrame in
/// ResamplerFormula.h). The routine computes the same bits faster: each sum with tabulated weights
/// whose error has a proven bound, and by the formula itself wherever the sum is so near a whole
/// number that the error could change the stored value.
///
/// Threads: calls may run at the same time; they share the tables of a rate, which are made once.
class Resampler {
public:
    Resampler();
    ~Resampler();
    Resampler(const Resampler&) = delete;
    Resampler& operator=(const Resampler&) = delete;

    /// Fills @p output from @p source for all arguments: where no tap meets the source, and for
    /// positions that are NaN or infinite, the output is zero.
    ///
    /// Output frame i is at source position i * speed + sourceOffset. Sums beyond 16 bits wrap.
    /// @param rate          hertz of both sides; sets the cutoff, 1 Hz below half of it
    /// @param speed         source frames per output frame; any double
    /// @param source        2 * sourceCount values, left first
    /// @param sourceOffset  position in @p source of output frame 0
    /// @param sourceCount   frames in @p source; below 1 all output is zero
    /// @param output        room for 2 * outputCount values
    /// @param outputCount   frames to write; below 1 none
    void ResampleStereo(int rate, double speed, const short* source, int sourceOffset,
                        int sourceCount, short* output, int outputCount);

private:
    std::unique_ptr<ResamplerImpl> impl_;
};

}  // namespace orlo::sonrel::detail
