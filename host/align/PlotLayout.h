// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "host/align/AlignmentSvg.h"

/// The places and colours of the plot of an alignment.
namespace orlo::host {

constexpr int PLOT_WIDTH = 1200;
constexpr int PLOT_LEFT = 72;  ///< of the lanes; the labels of the offsets are left of it
constexpr int PLOT_LANES_WIDTH = PLOT_WIDTH - PLOT_LEFT - 8;

constexpr const char* PLOT_AGREES = "#2e7d32";
constexpr const char* PLOT_DIFFERS = "#c03030";
constexpr const char* PLOT_DRIFT = "#303030";

/// The time axis: frames on the clock of A, and columns of pixels.
class PlotTimes {
public:
    explicit PlotTimes(const PlottedAlignment& plot)
        : begin_(std::min(plot.a.range.start, plot.b.range.start)),
          end_(std::max<long long>({plot.a.range.end, plot.b.range.end, begin_ + 1})) {}

    long long Begin() const { return begin_; }
    long long End() const { return end_; }

    double X(long long frame) const {
        return PLOT_LEFT + static_cast<double>(frame - begin_) * PLOT_LANES_WIDTH /
                               static_cast<double>(end_ - begin_);
    }

    /// The first frame of a column of pixels of the lanes.
    long long FrameAt(int column) const {
        return begin_ +
               static_cast<long long>(static_cast<double>(column) *
                                      static_cast<double>(end_ - begin_) / PLOT_LANES_WIDTH);
    }

private:
    long long begin_;
    long long end_;
};

}  // namespace orlo::host
