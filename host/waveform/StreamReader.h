// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/waveform/SampleLanes.h"
#include "sonrel/base/FrameRange.h"
#include "sonrel/media/SoundChoice.h"

namespace orlo::host {

/// Reads the samples of a range, and the sample after it, from a media file. Values have the scale
/// of a peak file.
/// @param range  within the stream, not empty
/// @throws JobError that names the file when a sample cannot be read
StreamSamples ReadStreamSamples(const std::string& media, const zrh::media::SoundChoice& sound,
                                const zrtl::FrameRange& range);

}  // namespace orlo::host
