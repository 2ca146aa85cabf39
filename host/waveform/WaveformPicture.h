// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/waveform/Frame.h"
#include "host/waveform/LabelFont.h"
#include "host/waveform/Picture.h"
#include "host/waveform/PictureArguments.h"
#include "host/waveform/PictureColors.h"
#include "host/waveform/SampleLanes.h"
#include "host/waveform/WaveformOptions.h"

namespace orlo::host {

/// A stream and its peak file.
struct PeakSource {
    std::string media;     ///< the media file, for messages
    std::string peakFile;  ///< path
    int rate = 0;          ///< hertz
    long long samples = 0;
    int channels = 0;
    int blocks = 0;
};

/// Reads the properties of a peak file.
/// @param samples  length of the stream as declared by its container; when the number of blocks
///                 contradicts it, the blocks determine the length
/// @throws JobError when the file is not a peak file or is empty
PeakSource OpenPeakSource(const std::string& media, const std::string& peakFile, int rate,
                          long long samples);

/// Draws a part of a stream from its peak file. A picture of a single colour is that of the engine.
/// @param size  size of the image
/// @return an image with its correct pixel format set
/// @throws JobError; UsageError for a picture that is too large for its colours
Picture DrawWaveform(const PeakSource& source, const zrtl::FrameRange& range,
                     const WaveformOptions& options, const PictureColors& colors,
                     const PictureSize& size);

/// Whether a pixel of a picture is shorter than a block of the peak file.
bool IsStretched(const PeakSource& source, const zrtl::FrameRange& range, int width);

/// The samples that the picture of a range shows: all samples of the blocks that overlap the range.
zrtl::FrameRange ShownRange(const PeakSource& source, const zrtl::FrameRange& range);

/// Draws single samples. @throws JobError
Picture DrawSamplePicture(const StreamSamples& samples, const WaveformOptions& options,
                          const PictureColors& colors, const PictureSize& size);

/// The picture in its frame. @throws JobError
Picture AddFrame(const Picture& picture, const Frame& frame, LabelFont* font);

/// The bytes of a PNG file. @throws JobError
std::string PngBytes(const Picture& picture);

}  // namespace orlo::host
