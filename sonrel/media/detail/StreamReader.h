// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/InputFile.h"

namespace zrh::media::detail {

/// Reads the samples of an indexed stream in the format of its view, from any position.
///
/// Threads: one at a time.
class StreamReader {
public:
    virtual ~StreamReader() = default;

    /// Reads frames after the silence at the start of the stream.
    /// @param start   frame of the stream, from its leadFrames to its totalFrames, exclusive
    /// @param count   frames to read, above 0, within totalFrames
    /// @param buffer  receives @p count frames
    /// @return the frames delivered, at least 1; 0 when the file could not be read
    /// @throws SilenceRefused when too much silence would be inserted
    virtual int Read(std::int64_t start, int count, std::uint8_t* buffer) = 0;
};

std::unique_ptr<StreamReader> NewPcmReader(std::shared_ptr<const InputFile> file,
                                           std::shared_ptr<const StreamIndex> index);
std::unique_ptr<StreamReader> NewPacketReader(std::shared_ptr<const InputFile> file,
                                              std::shared_ptr<const StreamIndex> index);

}  // namespace zrh::media::detail
