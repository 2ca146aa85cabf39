// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

namespace orlo::sonrel::detail {

/// The windows of a gain computer, in cells of its raster. From the amounts of the cells (for
/// example the decibels by which each is too loud) they make the amounts at the starts of cells.
///
/// An amount holds and then falls in a straight line to 0 (held); the largest amount of the cells
/// ahead counts if the windows look ahead; the mean over the attack makes the rise a straight line.
/// With c[k] the amount of cell k, h, r and a the lengths of hold, release and attack:
///
///   held[k]  = max over 0 <= j < h + r of c[k - j] * (j <= h ? 1 : 1 - (j - h) / r)
///   ahead[k] = max over 0 <= i <= a of held[k + i], or held[k] without a look-ahead
///   point[k] = mean over 1 <= i <= a of ahead[k - i], at the start of cell k
///
/// With a look-ahead, the points at both ends of a cell are at least the amount of the cell.
struct GainWindows {
    int attack = 1;   ///< at least 1
    int hold = 0;     ///< at least 0
    int release = 1;  ///< at least 1
    bool looksAhead = false;

    /// Cells before the first point, and from the last point on, whose amounts the points need.
    int CellsBefore() const { return attack + hold + release - 1; }
    int CellsAfter() const { return looksAhead ? attack : 0; }
};

/// The points of consecutive cells.
/// @param amounts  of the cells from CellsBefore() cells before the first point to CellsAfter()
///                 cells after the last point
std::vector<double> GainPoints(const GainWindows& windows, const std::vector<double>& amounts);

/// The number of amounts from which GainPoints makes a number of points.
std::size_t AmountsFor(const GainWindows& windows, std::size_t points);

}  // namespace orlo::sonrel::detail
