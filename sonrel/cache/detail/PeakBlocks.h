// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "sonrel/cache/detail/BinaryFile.h"
#include "sonrel/media/ZRAbstractAudioStream.h"

namespace orlo::sonrel::detail {

/// Reads a range of a stream in steps of 32 frames and puts out a block for each.
///
/// A stream that cannot be read is an error at its frame 0 alone; anywhere else the step counts as
/// silence, as long as the step before it if the stream does not say how long.
/// @param channels       1 to 16
/// @param bitsPerSample  a multiple of 8
/// @param range          first frame and end
/// @param file           takes the blocks at its place; null where @p memory takes them
/// @param memory         the blocks are appended; null where @p file takes them
/// @return the blocks
/// @throws std::runtime_error when a limit above does not hold, the frame 0 cannot be read, the
///         stream delivers nothing without an error, or the file cannot be written
unsigned int WritePeakBlocks(const std::shared_ptr<zrh::media::ZRAbstractAudioStream>& stream,
                             int channels, int bitsPerSample, zrh::media::ZRSampleDataType dataType,
                             std::pair<long long, long long> range,
                             project::utility::BinaryFile* file,
                             std::vector<unsigned char>* memory);

/// Writes many bytes as if each were written alone: a full disk shows at the same byte. The C
/// stream gives its buffer away only when a byte follows that has no room in it, so the last byte
/// goes by itself.
/// @return whether all were taken
bool WriteBytes(project::utility::BinaryFile& file, const std::vector<unsigned char>& bytes);

}  // namespace orlo::sonrel::detail
