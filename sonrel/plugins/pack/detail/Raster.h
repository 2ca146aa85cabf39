// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

namespace orlo::sonrel::detail {

/// Cells of equal length, counted from the start of the object. An effect computes each cell
/// separately: the bytes of a position then do not depend on the block that contains it.
class Raster {
public:
    /// @param frames  length of a cell, at least 1
    explicit Raster(long long frames) : frames_(frames) {}

    long long Frames() const { return frames_; }

    /// Frames from the start of the cell that contains a position to the position.
    long long Inside(long long position) const {
        const long long rest = position % frames_;
        return rest < 0 ? rest + frames_ : rest;
    }

    /// Frames from a position to the next start of a cell; 0 at the start of a cell.
    long long ToNext(long long position) const {
        const long long inside = Inside(position);
        return inside == 0 ? 0 : frames_ - inside;
    }

    /// Number of the cells that contain @p count frames from a position on; @p count is above 0.
    long long CellsOf(long long position, long long count) const {
        return (Inside(position) + count - 1) / frames_ + 1;
    }

private:
    long long frames_;
};

/// The raster whose cells are @p seconds long, rounded to whole frames.
inline Raster RasterOf(int rate, double seconds) {
    const double frames = std::floor(rate * seconds + 0.5);
    return Raster(frames < 1.0 ? 1 : static_cast<long long>(frames));
}

}  // namespace orlo::sonrel::detail
