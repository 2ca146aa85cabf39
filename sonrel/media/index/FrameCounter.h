// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "sonrel/media/input/Ffmpeg.h"

namespace zrh::media::detail {

/// What is known of a codec's packets.
struct CodecTraits {
    /// Packets that a fresh decoder needs before its output is right.
    int preroll = 0;
    /// Each packet decodes alone, whatever came before it.
    bool independent = false;
    /// The frames of a packet can be told without decoding it.
    bool countable = false;
    /// A fresh decoder in the middle is known to give what a straight decode gives (but for noise
    /// that decoders make up). Of other codecs it is tried out on each file.
    bool restartable = false;
};

CodecTraits TraitsOf(AVCodecID codec);

/// Whether the samples of a codec are stored as they are.
bool IsPcm(AVCodecID codec);

/// Tells the sample frames in a packet from its header or its size.
class FrameCounter {
public:
    FrameCounter(const AVCodecParameters& parameters, AVRational timeBase);

    /// @return 0 when it cannot be told
    std::uint32_t FramesOf(const AVPacket& packet);

private:
    const AVCodecParameters& parameters_;
    bool timeIsInSamples_ = false;
    ParserPtr parser_;
    CodecContextPtr parserContext_;
};

}  // namespace zrh::media::detail
