// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sonrel/media/input/SampleFormat.h"

namespace zrh::media::detail {

/// A decoder of one stream, on the calling thread alone. Nothing is trimmed: what to leave out is
/// the packet map's business.
class PacketDecoder {
public:
    /// @return null when there is no decoder for the codec or it refuses the stream
    static std::unique_ptr<PacketDecoder> Open(const AVCodecParameters& parameters,
                                               AVRational timeBase);

    /// Decodes one packet; a null packet takes out what the decoder kept back.
    /// @return false when the decoder met damage; what it gave nevertheless counts
    bool Decode(const AVPacket* packet);

    /// What the last call of Decode gave; valid until the next one.
    int FrameCount() const { return frameCount_; }
    const AVFrame& Frame(int index) const { return *frames_[static_cast<std::size_t>(index)]; }
    /// Sample frames that the last call of Decode gave.
    std::int64_t DecodedFrames() const;
    /// Samples that the decoder wants left out at the front, as told by the last call of Decode.
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
