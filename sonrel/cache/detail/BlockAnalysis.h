// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/base/ZRMediaTypes.h"

/// The summary of a block of sample frames in a peak file.
///
/// A sample is a value x of full scale 1.0, in double precision:
///
///   8 bits, unsigned    v = u / 255.0 - 0.5; x = v + v, limited to -1.0 .. 1.0
///   16 bits             x = s / 32767.0, limited
///   24 bits             x = s / 2147483391.0, limited, with s in the upper three bytes of 32 bits
///   32 bits             x = s / 2147483647.0, limited
///   float, 32 and 64    x unchanged, not limited
///
/// The divisor for 24 bits is one less than the full scale. The values are divided, not multiplied
/// by a reciprocal: otherwise 20 of the 256 values of 8 bits would get another byte.
///
/// Minimum and maximum start at 0.0 and not at the first sample, and a NaN changes neither. RMS is
/// sqrt(sum / (channels * frames)) over all channels together, the sum taken in the order of the
/// samples. The bytes are min and max times 127.0 and RMS times 255.0, cut toward zero to 32 bits,
/// of which the low eight are kept: a float sample of 1.5 is stored as 190 and read as -66, and a
/// value that does not fit in 32 bits is stored as 0.
namespace orlo::sonrel::detail {

constexpr int FRAMES_PER_BLOCK = 32;
constexpr int MAX_PEAK_CHANNELS = 16;

/// Bytes of one block: RMS, then minimum and maximum of each channel.
constexpr int PeakBlockBytes(int channels) {
    return 1 + 2 * channels;
}

/// The format of the stored samples.
enum class SampleForm { None, Unsigned8, Signed16, Signed24, Signed32, Float32, Float64 };

/// @return None for combinations without a value, for example 16-bit float
SampleForm SampleFormOf(zrh::media::ZRSampleDataType type, int bitsPerSample);

/// Summarises a block. For the form None every byte is 0.
/// @param samples   interleaved, little-endian
/// @param channels  1 to 16
/// @param frames    0 to 32; for 0 frames RMS is not a number and all bytes are 0
/// @param block     receives PeakBlockBytes(channels) bytes
void SummariseBlock(SampleForm form, const unsigned char* samples, int channels, int frames,
                    unsigned char* block);

}  // namespace orlo::sonrel::detail
