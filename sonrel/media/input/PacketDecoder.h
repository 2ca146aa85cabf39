// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sonrel/media/input/SampleFormat.h"

namespace zrh::media::detail {

/// Decodes one stream on the calling thread only. Nothing is trimmed: the packet index records the
/// frames to skip.
class PacketDecoder {
public:
    /// @return null when the codec has no decoder or the decoder refuses the stream
    static std::unique_ptr<PacketDecoder> Open(const AVCodecParameters& parameters,
                                               AVRational timeBase);

    /// Decodes one packet. A null packet drains the decoder.
    /// @return false when the packet is damaged; the frames that were decoded nevertheless count
    /// @throws std::bad_alloc without memory for the samples
    bool Decode(const AVPacket* packet);

    /// The frames of the last call of Decode; valid until the next call.
    int FrameCount() const { return frameCount_; }
    const AVFrame& Frame(int index) const { return *frames_[static_cast<std::size_t>(index)]; }
    /// Sample frames in the frames of the last call of Decode.
    std::int64_t DecodedFrames() const;
    /// Samples at the front to skip (priming), as the last call of Decode reported them.
    std::uint32_t DecoderSkip() const;
    /// The format of a frame.
    DecodedFormat FormatOf(const AVFrame& frame) const;

private:
    PacketDecoder() = default;

    CodecContextPtr context_;
    std::vector<FramePtr> frames_;
    int frameCount_ = 0;
};

}  // namespace zrh::media::detail
