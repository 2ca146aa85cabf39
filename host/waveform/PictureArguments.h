// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/base/FrameRange.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::host {

struct PictureSize {
    int width = 0;   ///< pixels
    int height = 0;  ///< pixels
};

/// Reads "1800x280".
/// @throws UsageError unless both are from 1 to 32767 and there are no more than 2^26 pixels: with
///         its copies a picture then takes less than a gigabyte
PictureSize ParsePictureSize(const std::string& text);

/// Reads a colour as six or eight hexadecimal digits, RRGGBB or RRGGBBAA; without alpha it is
/// solid.
/// @param option  the option that the text belongs to, for the message
/// @throws UsageError
sonrel::WaveformPreview::Color ParseColor(const std::string& option, const std::string& text);

/// Refuses what is no range of any stream, before one is looked at. @throws UsageError
void CheckStreamRange(const std::string& text);

/// Reads "A:B", each in seconds (12.5 or 12.5s, rounded half away from zero to a sample frame) or
/// sample frames (480000smp). A left out is the start of the stream, B left out or beyond the end
/// is its end.
/// @param text  empty is the whole stream
/// @param rate  of the stream, hertz
/// @param samples  of the stream, above 0
/// @throws UsageError when the text is no range or nothing of the stream lies in it
zrtl::FrameRange ParseStreamRange(const std::string& text, int rate, long long samples);

}  // namespace orlo::host
