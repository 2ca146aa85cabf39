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

/// Builds the packet index of one audio stream from all its packets in file order.
///
/// The index must contain the exact number of frames of each packet: a reader finds the packet of a
/// frame by counting. Decoding every packet would count them, but takes as long as playing the file
/// through a decoder. So the indexer counts by the packet headers where the codec allows it, and
/// verifies them: it decodes the first 24 packets (mode Checking) and compares, then trusts the
/// headers (mode Trusting), and finally decodes the last 8 packets after a preroll of 16. If a
/// header of the first packets is wrong, or the codec has no countable headers, it decodes every
/// packet (mode Decoding). If a header of the last packets is wrong, the pass is wasted: Finish
/// returns false, and the file is indexed again with decodeAll. The end of a stream is special
/// because its last packet may be shorter than its header declares.
///
/// Of the frames of a packet, some may not belong to the stream: priming at the start, padding at
/// the end, and packets that an edit list hides. Containers report them as skip and discard counts
/// or as a discard flag; decoders report priming too. A skip that is longer than its packet carries
/// over to the next packets. Frames of a damaged packet stay in the index as silence if the header
/// counts them, so that damage does not shift the packets after it.
///
/// The indexer also finds out how the reader can fetch the packets: if every packet's bytes are
/// found in the file at the reported position, or within 32 bytes after it, the index is direct,
/// and the reader needs no demuxer. Every 10 seconds a segment begins at a key packet. A segment
/// can be decoded without the packets before its preroll.
class PacketIndexer {
public:
    /// @param decodeAll  decode every packet and never trust the headers
    PacketIndexer(std::shared_ptr<const InputFile> file, const AVStream& stream, bool decodeAll);

    void Add(const AVPacket& packet);

    /// Completes the index after the last packet.
    /// @return false when the last packets have wrong headers: the file needs a pass with decodeAll
    bool Finish(StreamIndex* index);

private:
    enum class Mode { Checking, Trusting, Decoding };

    /// The last packet, before it is added to the index: its count may still change.
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
    /// A packet was found after a header of the container and not at the reported position.
    bool foundHeader_ = false;
    std::vector<std::uint8_t> window_;
    std::int64_t windowStart_ = 0;
    std::int64_t seen_ = 0;
    std::int64_t decodedFrames_ = 0;
    std::int64_t segmentStartFrames_ = 0;
    /// Times of the last packets, as many as the preroll needs.
    std::deque<std::int64_t> times_;
    /// A packet for CheckTail, with its counted frames.
    struct Recent {
        PacketPtr packet;
        std::int64_t frames = 0;
    };
    std::deque<Recent> recent_;
    std::int64_t recentBytes_ = 0;
    /// Frames of packets that could not be decoded.
    std::int64_t silentFrames_ = 0;
    bool hasTooManySpans_ = false;
    bool hasPending_ = false;
    Pending pending_;
    std::int64_t carriedSkip_ = 0;
};

}  // namespace zrh::media::detail
