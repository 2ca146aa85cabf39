// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sonrel/media/ZRAbstractAudioStream.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/media/input/SampleFormat.h"

namespace zrh::media::detail {

/// A whole stream from front to end, in the decoder's own format.
///
/// Threads: one at a time.
class DecodedSource {
public:
    virtual ~DecodedSource() = default;

    virtual const DecodedFormat& Format() const = 0;
    /// Frames of the whole stream.
    virtual std::int64_t TotalFrames() const = 0;

    /// Gives what comes next, valid until the next call. An empty list is the end.
    virtual MediaError Next(std::vector<SampleBlock>* blocks) = 0;
    /// The reason for the last error with its numbers, as a clause; empty where the error alone
    /// says enough.
    virtual std::string Reason() const { return {}; }
};

/// @param feed  receives the feed; untouched when the stream cannot be read
MediaError NewDecodedSource(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                            std::unique_ptr<DecodedSource>* source);

}  // namespace zrh::media::detail
