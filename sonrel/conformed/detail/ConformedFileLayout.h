// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "sonrel/base/StereoFrame.h"

namespace orlo::project {

/// As a long integer, so that the byte count of any number of frames is exact.
inline constexpr long long BYTES_PER_FRAME = zrtl::FRAME_BYTES;

/// The place of the samples in a conformed file.
struct ConformedFileLayout {
    long long firstByte = 0;    ///< of the samples, from the start of the file
    long long sampleCount = 0;  ///< sample frames of 4 bytes
    int sampleRate = 0;         ///< hertz, above 0
};

/// Reads and checks the chunks of an open file: RIFF or RF64, WAVE, stereo, 16-bit PCM.
///
/// The lengths in the header must match the file exactly: a file whose writer was stopped, or that
/// was truncated or extended since, is not a conformed file.
/// @param descriptor  a regular file, open for reading; its position is not used
/// @param fileSize    bytes
std::optional<ConformedFileLayout> ReadConformedFileLayout(int descriptor, long long fileSize);

/// Reads exactly @p size bytes at @p offset, and continues after interruptions.
/// @return false when the file ends earlier or the system reports an error
bool ReadFullyAt(int descriptor, void* buffer, long long size, long long offset);

}  // namespace orlo::project
