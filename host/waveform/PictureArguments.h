// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "sonrel/base/FrameRange.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::host {

struct PictureSize {
    int width = 0;   ///< pixels
    int height = 0;  ///< pixels
};

/// Whether both sides are from 1 to 32767, with at most 2^26 pixels. A picture with its copies then
/// needs less than a gigabyte.
bool IsPictureSize(long long width, long long height);

/// Reads "1800x280".
/// @throws UsageError unless IsPictureSize
PictureSize ParsePictureSize(const std::string& text);

/// Reads a colour as six or eight hexadecimal digits, RRGGBB or RRGGBBAA; without alpha the colour
/// is opaque.
/// @param option  the option that the text belongs to, for the message
/// @throws UsageError
sonrel::WaveformPreview::Color ParseColor(const std::string& option, const std::string& text);

/// Reads a list of 1 to 16 colours with commas between them. @throws UsageError
std::vector<sonrel::WaveformPreview::Color> ParseColors(const std::string& option,
                                                        const std::string& text);

/// Checks the syntax of a range before a stream is opened.
/// @throws UsageError when the text is not a range
void CheckStreamRange(const std::string& text);

/// Reads "A:B", each in seconds (12.5 or 12.5s, rounded half away from zero to a sample frame) or
/// sample frames (480000smp). An empty A is the start of the stream; an empty B, or a B after the
/// end, is the end of the stream.
/// @param text     empty for the whole stream
/// @param rate     sample rate of the stream, hertz
/// @param samples  length of the stream, above 0
/// @throws UsageError when the text is not a range or does not overlap the stream
zrtl::FrameRange ParseStreamRange(const std::string& text, int rate, long long samples);

}  // namespace orlo::host
