// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel::detail {

/// A second-order section of a filter: y = b0 x + b1 x' + b2 x'' - a1 y' - a2 y''.
struct FilterSection {
    double b0;
    double b1;
    double b2;
    double a1;
    double a2;
};

/// The high shelf of the K weighting at a rate.
FilterSection ShelfSection(int rate);
/// The high-pass of the K weighting at a rate.
FilterSection HighPassSection(int rate);

/// Constants of the filter for the four lanes: shelf left, shelf right, high-pass left, high-pass
/// right.
///
/// The sections are scaled to b0 = 1. Their state is (u, v): u is added to the next input, and
/// a2 u - v, divided by a1, is the second value of the transposed direct form 2. With this state
/// two frames at once need the fewest operations: v depends on u only.
struct KWeightingLanes {
    double a1[4];
    double a2[4];
    double c1[4];           ///< b1 - a1
    double c2[4];           ///< b2 - a2
    double betweenU[4];     ///< state u one frame later: factor of u; of the input it is c1
    double betweenV[4];     ///< factor of v
    double nextU[4];        ///< state u two frames later: factor of u; that of v is 1
    double nextUFirst[4];   ///< factor of the first input; of the second it is c1
    double nextV[4];        ///< state v two frames later: factor of u
    double nextVFirst[4];   ///< factor of the first input
    double nextVSecond[4];  ///< factor of the second input
};

/// The state of the filter between two calls, in the same lanes.
struct KWeightingState {
    double u[4] = {};
    double v[4] = {};
};

/// Filters a stereo signal with the K weighting of ITU-R BS.1770 and sums up its squares.
class KWeighting {
public:
    explicit KWeighting(int rate);

    /// Filters the next frames. Equal calls give equal bits; other cuts between calls change the
    /// roundings.
    /// @return the sum of the squares of both channels, full scale 1.0
    double Energy(const short* frames, int count);

private:
    KWeightingLanes lanes_;
    KWeightingState state_;
    double scale_;  ///< of a square
};

}  // namespace orlo::sonrel::detail
