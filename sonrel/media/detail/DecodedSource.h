// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sonrel/media/ZRAbstractAudioStream.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/media/input/SampleFormat.h"

namespace zrh::media::detail {

/// Reads a whole stream from start to end, in the format of its decoder.
///
/// Threads: one at a time.
class DecodedSource {
public:
    virtual ~DecodedSource() = default;

    virtual const DecodedFormat& Format() const = 0;
    /// Frames of the whole stream.
    virtual std::int64_t TotalFrames() const = 0;

    /// Sets the frames that each following call of Next should return. Only a source of samples
    /// that are not compressed returns as many.
    virtual void PreferFrames(std::int64_t) {}

    /// Reads the next blocks, valid until the next call. At the end it returns None and no blocks.
    virtual MediaError Next(std::vector<SampleBlock>* blocks) = 0;
    /// The reason for the last error with its numbers, as a clause; empty where the error is
    /// sufficient.
    virtual std::string Reason() const { return {}; }
};

/// @param source  receives the source; unchanged when the stream cannot be read
MediaError NewDecodedSource(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                            std::unique_ptr<DecodedSource>* source);

}  // namespace zrh::media::detail
