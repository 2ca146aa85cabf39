// SPDX-License-Identifier: MIT
#include "sonrel/waveform/painter/WaveformRows.h"

#include <cmath>

#include "sonrel/base/Numbers.h"

namespace orlo::sonrel::detail {

namespace {

using Scale = WaveformPreview::Scale;

constexpr double FLOOR = 0.01;
constexpr double HEADROOM = 0.9;

const double LN_FLOOR = std::log(FLOOR);
const double LN_FULL_SCALE = std::log(1.0);

/// Rows above the baseline; the multiplication comes before the division.
double LogarithmicRows(double amplitude, int height) {
    return (std::log(amplitude) - LN_FLOOR) * height / (LN_FULL_SCALE - LN_FLOOR);
}

double LogarithmicPeak(double value, int baseline, int halfHeight) {
    if (value > 0.0) {
        double limited = value < 1.0 ? value : 1.0;
        if (!(limited > FLOOR)) limited = FLOOR;
        return baseline - LogarithmicRows(limited * HEADROOM, halfHeight);
    }
    double limited = value > -FLOOR ? -FLOOR : value;
    if (!(limited > -1.0)) limited = -1.0;
    return LogarithmicRows(limited * -HEADROOM, halfHeight) + baseline;
}

}  // namespace

int PeakRow(double value, int baseline, int laneHeight, Scale scale) {
    const int halfHeight = laneHeight / 2;
    if (scale == Scale::Linear) {
        return zrtl::TruncToInt32(baseline - value * HEADROOM * halfHeight);
    }
    return zrtl::TruncToInt32(LogarithmicPeak(value, baseline, halfHeight));
}

int RMSRow(double amplitude, int height, Scale scale) {
    const int baseline = height - 1;
    if (scale == Scale::Linear) return zrtl::TruncToInt32(baseline - height * amplitude);
    const double limited = amplitude > FLOOR ? amplitude : FLOOR;
    return zrtl::TruncToInt32(baseline - LogarithmicRows(limited, height));
}

}  // namespace orlo::sonrel::detail
