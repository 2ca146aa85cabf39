// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel::detail {

/// A gain that is a straight line over the frames of a cell: first + n * step in frame n.
struct GainRamp {
    double first = 1.0;
    double step = 0.0;
};

/// Multiplies frames by a gain and rounds them.
/// @param to      first frame of the output, at or before @p from
/// @param from    first frame of the input
/// @param inside  number of this frame in its cell
void ApplyGain(unsigned char* to, const unsigned char* from, long long frames, const GainRamp& gain,
               long long inside);

}  // namespace orlo::sonrel::detail
