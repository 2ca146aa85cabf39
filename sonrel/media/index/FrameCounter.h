// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "sonrel/media/input/Ffmpeg.h"

namespace zrh::media::detail {

/// Properties of the packets of a codec.
struct CodecTraits {
    /// Packets that a new decoder needs before its output is right.
    int preroll = 0;
    /// Each packet is decoded independently of the packets before it.
    bool independent = false;
    /// The frames of a packet can be counted without decoding it.
    bool countable = false;
    /// A new decoder in the middle of the stream is known to return the same frames as a decoder
    /// that began at its start (except for noise substitution). For other codecs each file is
    /// tested.
    bool restartable = false;
};

CodecTraits TraitsOf(AVCodecID codec);

/// Whether a codec stores uncompressed samples.
bool IsPcm(AVCodecID codec);

/// Counts the sample frames of a packet by its header or its size.
class FrameCounter {
public:
    FrameCounter(const AVCodecParameters& parameters, AVRational timeBase);

    /// @return 0 when the frames cannot be counted
    std::uint32_t FramesOf(const AVPacket& packet);

private:
    const AVCodecParameters& parameters_;
    bool timeIsInSamples_ = false;
    ParserPtr parser_;
    CodecContextPtr parserContext_;
};

}  // namespace zrh::media::detail
