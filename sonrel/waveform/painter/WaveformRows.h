// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/waveform/WaveformPreview.h"

/// The rows of amplitudes in a picture. Rows count from the top; a row may be outside the picture.
/// Every row is computed in double in the order shown and then cut toward zero.
///
/// The logarithmic scale uses L(u, height) = (ln u - ln 0.01) * height / (ln 1.0 - ln 0.01), which
/// is 0 for 0.01 and the height for full scale.
namespace orlo::sonrel::detail {

/// The row of a minimum or maximum in a lane around its baseline, with h = laneHeight / 2 in whole
/// rows. The factor 0.9 keeps full scale off the edge of the lane.
///
///     linear               baseline - v * 0.9 * h
///     logarithmic, v > 0   baseline - L(w * 0.9, h), w = v limited to 0.01 .. 1.0
///     logarithmic, else    L(w * -0.9, h) + baseline, w = v limited to -1.0 .. -0.01
///
/// L(0.009) is below 0: values at or below the floor are slightly on the other side of the
/// baseline, and 0.0, which uses the last line, slightly above it. This is intended and must not be
/// changed: silence and the floor would move to other rows.
/// @param value  full scale 1.0
int PeakRow(double value, int baseline, int laneHeight, WaveformPreview::Scale scale);

/// The row of an RMS amplitude. Full scale is row -1, one above the picture; silence is the bottom
/// row.
///
///     linear       (height - 1) - height * a
///     logarithmic  (height - 1) - L(w, height), w = a, at least 0.01
///
/// @param amplitude  0.0 to 1.0
int RMSRow(double amplitude, int height, WaveformPreview::Scale scale);

}  // namespace orlo::sonrel::detail
