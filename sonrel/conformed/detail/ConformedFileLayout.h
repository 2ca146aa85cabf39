// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

namespace orlo::project {

/// Where the samples of a conformed file lie.
struct ConformedFileLayout {
    long long firstByte = 0;    ///< of the samples, counted from the start of the file
    long long sampleCount = 0;  ///< sample frames of 4 bytes
    int sampleRate = 0;         ///< hertz, above 0
};

/// Reads and checks the chunks of an open file: RIFF or RF64, WAVE, stereo, 16-bit PCM.
///
/// The lengths in the header must fit the file exactly: a file whose writer was stopped, or that
/// was cut or added to since, is no conformed file.
/// @param descriptor  a regular file, open for reading; its position is not used
/// @param fileSize    bytes
std::optional<ConformedFileLayout> ReadConformedFileLayout(int descriptor, long long fileSize);

/// Reads exactly @p size bytes at @p offset, however often the system interrupts the read.
/// @return false when the file ends before or the system reports an error
bool ReadFullyAt(int descriptor, void* buffer, long long size, long long offset);

}  // namespace orlo::project
