// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/waveform/Picture.h"
#include "host/waveform/PictureArguments.h"
#include "host/waveform/WaveformOptions.h"
#include "host/waveform/WaveformRuler.h"

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

/// Draws a part of a stream.
/// @param size  size of the image
/// @return an image with its correct pixel format set
/// @throws JobError
Picture DrawWaveform(const PeakSource& source, const zrtl::FrameRange& range,
                     const WaveformOptions& options, const PictureSize& size);

/// The samples that the picture of a range shows: all samples of the blocks that overlap the range.
zrtl::FrameRange ShownRange(const PeakSource& source, const zrtl::FrameRange& range);

/// The picture with a ruler below it. @throws JobError
Picture AddRuler(const Picture& picture, const Ruler& ruler);

/// The bytes of a PNG file. @throws JobError
std::string PngBytes(const Picture& picture);

}  // namespace orlo::host
