// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "sonrel/cache/detail/BinaryFile.h"
#include "sonrel/media/ZRAbstractAudioStream.h"

namespace orlo::sonrel::detail {

/// Reads a range of a stream in steps of 32 frames and writes a block for each step.
///
/// A failed read is an error at frame 0 of the stream only. At any other frame the step counts as
/// silence, with the length of the step before it unless the stream reports a length.
/// @param channels       1 to 16
/// @param bitsPerSample  a multiple of 8
/// @param range          first frame and end
/// @param file           receives the blocks at its position; null if @p memory is used
/// @param memory         the blocks are appended; null if @p file is used
/// @return the number of blocks
/// @throws std::runtime_error when a parameter is outside its limits, frame 0 cannot be read, the
///         stream delivers no frames without an error, or the file cannot be written
unsigned int WritePeakBlocks(const std::shared_ptr<zrh::media::ZRAbstractAudioStream>& stream,
                             int channels, int bitsPerSample, zrh::media::ZRSampleDataType dataType,
                             std::pair<long long, long long> range,
                             project::utility::BinaryFile* file,
                             std::vector<unsigned char>* memory);

/// Writes many bytes with the effect of one call for each byte: a full disk fails at the same byte.
/// The C stream flushes its buffer only when a byte follows that does not fit, so the last byte is
/// written separately.
/// @return whether all bytes were written
bool WriteBytes(project::utility::BinaryFile& file, const std::vector<unsigned char>& bytes);

}  // namespace orlo::sonrel::detail
