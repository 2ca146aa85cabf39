// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/Demuxer.h"
#include "sonrel/media/input/PacketDecoder.h"

namespace zrh::media::detail {

/// Makes the map of one audio stream from all its packets, handed over in file order.
///
/// How many frames a packet holds is told by its header where the codec allows that; the first
/// packets are decoded to see whether it is true, and the last ones, which may be shorter. Where it
/// cannot be told, or turns out false, every packet is decoded.
class PacketIndexer {
public:
    /// @param decodeAll  never trust headers
    PacketIndexer(std::shared_ptr<const InputFile> file, const AVStream& stream, bool decodeAll);

    void Add(const AVPacket& packet);

    /// @return false when the last packets showed that headers cannot be trusted: a scan with
    ///         decodeAll is needed
    bool Finish(StreamIndex* index);

private:
    enum class Mode { Checking, Trusting, Decoding };

    /// The packet before it is put on the map: its count may still change.
    struct Pending {
        PacketRecord record;
        std::int64_t decoded = 0;
        std::int64_t skip = 0;
        std::int64_t discard = 0;
        bool hidden = false;
    };

    std::int64_t CountFrames(const AVPacket& packet, std::int64_t* decoderSkip);
    void NoteFormat();
    void Locate(const AVPacket& packet, PacketRecord* record);
    void NoteTime(const AVPacket& packet);
    void BeginSegmentIfDue(const AVPacket& packet);
    void Commit();
    void KeepForTailCheck(const AVPacket& packet, std::int64_t frames);
    bool CheckTail();

    std::shared_ptr<const InputFile> file_;
    const AVStream& stream_;
    CodecTraits traits_;
    FrameCounter frameCounter_;
    Mode mode_;
    std::unique_ptr<PacketDecoder> decoder_;
    DecodedFormat format_;
    PacketIndex packets_;
    bool direct_ = true;
    /// Some packet lay behind a header of the container, at another place than the container names.
    bool sawHeader_ = false;
    std::vector<std::uint8_t> window_;
    std::int64_t windowStart_ = 0;
    std::int64_t seen_ = 0;
    std::int64_t decodedFrames_ = 0;
    std::int64_t segmentStartFrames_ = 0;
    /// Times of the latest packets, as many as the preroll needs.
    std::deque<std::int64_t> times_;
    /// The latest packets with the frames counted for each, for the check of the tail.
    struct Recent {
        PacketPtr packet;
        std::int64_t frames = 0;
    };
    std::deque<Recent> recent_;
    std::int64_t recentBytes_ = 0;
    /// Frames of packets that did not decode.
    std::int64_t silentFrames_ = 0;
    bool tooVaried_ = false;
    bool hasPending_ = false;
    Pending pending_;
    std::int64_t carriedSkip_ = 0;
};

}  // namespace zrh::media::detail
