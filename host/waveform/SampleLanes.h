// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/waveform/AmplitudeRows.h"
#include "host/waveform/LanePicture.h"

namespace orlo::host {

/// The samples of a range, channel after channel, full scale 1.0.
struct StreamSamples {
    long long count = 0;  ///< sample frames of the range
    /// Each channel has the samples of the range and, if the stream continues, the sample after it.
    std::vector<std::vector<double>> channels;
};

/// The column of a sample of a range in a picture: the column in which its time starts.
/// @param index  from the start of the range
int SampleColumn(long long index, long long count, int width);

/// Draws single samples: each sample is a point of a line, and a square of 3 pixels where samples
/// are 5 or more pixels apart.
/// @param width, height  of a lane, above 0
LaneMasks DrawSamples(const StreamSamples& samples, int width, int height,
                      sonrel::WaveformPreview::Scale scale);

}  // namespace orlo::host
