// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/align/Difference.h"
#include "host/align/Drift.h"
#include "sonrel/base/FrameRange.h"

namespace orlo::host {

/// A recording of a plot.
struct PlottedRecording {
    std::string name;
    zrtl::FrameRange range;  ///< on the clock of A
    /// Highest amplitude of a range of the recording, full scale 1.0.
    std::function<double(long long start, long long end)> peak;
};

/// A measured place of a plot.
struct PlottedPlace {
    zrtl::FrameRange range;  ///< on the clock of A
    long long offset = 0;
    double deviation = 0.0;  ///< of its offset from that of the whole, frames
    double correlation = 0.0;
    bool agrees = false;
};

/// The contents of a plot, at one sample rate.
struct PlottedAlignment {
    int rate = 0;
    std::string title;
    PlottedRecording a;
    PlottedRecording b;
    zrtl::FrameRange overlap;                ///< on the clock of A
    std::vector<zrtl::FrameRange> segments;  ///< the searched seconds, on the clock of A
    bool segmentsAreInA = true;
    std::vector<PlottedPlace> places;
    std::optional<Drift> drift;
    long long offset = 0;
    /// Measures the difference; its argument is that of MeasureDifference.
    std::function<Difference(const std::vector<long long>& bounds)> difference;
};

/// An SVG document: both waveforms on one time axis, the places, the difference, and the offsets of
/// the places with the line of the drift. Labels never overlap.
/// @throws what @p difference throws
std::string AlignmentSvg(const PlottedAlignment& plot);

}  // namespace orlo::host
