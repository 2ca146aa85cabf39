// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <string>

#include "host/waveform/PictureArguments.h"
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

/// Looks into a peak file for what it holds.
/// @param samples  of the stream, as its container tells; where the blocks of the file say
///                 otherwise, they are believed
/// @throws JobError when it is no peak file or holds nothing
PeakSource OpenPeakSource(const std::string& media, const std::string& peakFile, int rate,
                          long long samples);

/// Draws a part of a stream.
/// @param size  of the image
/// @return an image that knows its own pixel format, whatever the drawing left
/// @throws JobError
QImage DrawWaveform(const PeakSource& source, const zrtl::FrameRange& range,
                    const WaveformOptions& options, const PictureSize& size);

/// The samples that the picture of a range shows: all of the blocks that the range touches.
zrtl::FrameRange ShownRange(const PeakSource& source, const zrtl::FrameRange& range);

/// The bytes of a PNG file. @throws JobError
std::string PngBytes(const QImage& image);

}  // namespace orlo::host
