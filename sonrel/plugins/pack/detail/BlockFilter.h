// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/plugins/pack/detail/BiquadFilter.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {

constexpr int FILTER_BLOCK_FRAMES = 4;

/// A second-order section that computes four frames at a time.
///
/// The outputs of four frames are the sum of two responses: to their inputs, from rest, and to the
/// two outputs before them. Only the second waits for earlier outputs, and it does so once for four
/// frames. After H. B. Voelcker and E. E. Hartquist, "Digital filtering via block recursion", 1970.
///
/// The results differ from the recursion by rounding errors only. The blocks are counted
/// from the first frame of the sound, so that the output of a frame depends only on the sound from
/// there to the frame.
struct BlockFilter {
    explicit BlockFilter(const BiquadCoefficients& coefficients);

    /// Filters a sound, from rest. The output replaces the sound.
    /// @param samples   lookBack + count frames
    /// @param lookBack  frames whose output is not needed
    /// @param count     frames of output, from the beginning of the buffer
    void Run(unsigned char* samples, long long lookBack, long long count) const;

    double b0, b1, b2;                          ///< factors of an input and of the two before it
    double fromInput[FILTER_BLOCK_FRAMES];      ///< response to a filtered input, from its frame on
    double fromLast[FILTER_BLOCK_FRAMES];       ///< response to the output before the block
    double fromOneBefore[FILTER_BLOCK_FRAMES];  ///< response to the output before that
};

}  // namespace orlo::sonrel::detail
