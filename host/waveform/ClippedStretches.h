// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/waveform/SampleLanes.h"
#include "host/waveform/WaveformPicture.h"
#include "sonrel/base/FrameRange.h"

namespace orlo::host {

/// The stretches of each channel in rising order, in samples of the stream.
using ChannelStretches = std::vector<std::vector<zrtl::FrameRange>>;

/// Finds the stretches in which a channel reaches full scale, in whole blocks of the peak file. A
/// sample of a float stream beyond 2.0 may be missed, because the bytes of a peak file wrap.
/// @param range  whole blocks, except at the end of the stream
/// @throws JobError when the peak file cannot be read
ChannelStretches ClippedBlocks(const PeakSource& source, const zrtl::FrameRange& range);

/// Finds the same stretches in samples.
/// @param start  of the samples in the stream
ChannelStretches ClippedSamples(const StreamSamples& samples, long long start);

/// Number of stretches of all channels.
long long CountStretches(const ChannelStretches& stretches);

}  // namespace orlo::host
