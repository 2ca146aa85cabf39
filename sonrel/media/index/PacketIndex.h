// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "sonrel/media/index/ChunkedList.h"

namespace zrh::media::detail {

/// Identifies one packet of a stream.
struct PacketRecord {
    /// The position of the packet's bytes in the file if the index is direct; otherwise the
    /// position that the container reports, -1 for none.
    std::int64_t position = -1;
    std::uint32_t size = 0;
    /// A checksum of the packet's bytes.
    std::uint32_t check = 0;

    bool operator==(const PacketRecord&) const = default;
};

/// A run of packets that has its own decoder. The decoder starts earlier, at the preroll packet,
/// and its output before the first packet is dropped.
struct Segment {
    std::int64_t firstPacket = 0;
    std::int64_t prerollPacket = 0;
    /// The container's time of the preroll packet, for a seek.
    std::int64_t prerollTime = 0;
};

/// The frames of one packet in the stream: @p skip frames of its output are dropped, and the next
/// @p length frames are used.
struct PacketSpan {
    std::int64_t startFrame = 0;
    std::uint32_t skip = 0;
    std::uint32_t length = 0;
};

/// Maps sample frames of a stream to packets. Frames are counted and never derived from the times
/// in the container: those are rounded, and their gaps are not gaps in the sound.
///
/// A packet takes at most 16 bytes of memory: 15 for its entry, which contains the number of its
/// span in a table of all different spans, and its share of the start frame that is stored for
/// every 64th packet.
class PacketIndex {
public:
    /// @param startFrame  start of the first packet: the frames of silence before it
    explicit PacketIndex(std::int64_t startFrame = 0) : endFrame_(startFrame) {}

    /// The maximum number of different spans.
    static constexpr std::size_t MAX_SHAPES = 65535;

    /// @return false when the packet was not added because of too many different spans
    bool AddPacket(const PacketRecord& record, std::uint32_t skip, std::uint32_t length);
    void AddSegment(const Segment& segment) { segments_.push_back(segment); }
    /// Makes one segment of the whole stream, for a decoder that cannot start in the middle.
    void MergeSegments();
    /// Cuts the stream so that it ends at @p endFrame.
    void CutAt(std::int64_t endFrame);
    void SetDirect(bool direct) { direct_ = direct; }
    void ForgetPositions();

    std::int64_t PacketCount() const { return static_cast<std::int64_t>(entries_.Size()); }
    PacketRecord Packet(std::int64_t index) const;
    const std::vector<Segment>& Segments() const { return segments_; }
    std::int64_t EndFrame() const { return endFrame_; }
    /// Whether the bytes of every packet are in the file at its recorded position.
    bool IsDirect() const { return direct_ && allPositionsFit_; }

    PacketSpan SpanOf(std::int64_t packet) const;
    /// The packet that contains a frame.
    /// @param frame  from the start of the first packet to EndFrame, exclusive
    std::int64_t PacketAt(std::int64_t frame) const;
    /// The number of the segment that contains a packet.
    std::size_t SegmentOf(std::int64_t packet) const;

private:
    static constexpr std::int64_t GROUP = 64;

    /// A packet in bytes: larger integers would be padded.
    struct Entry {
        std::uint8_t position[5];  ///< all bits set: unknown
        std::uint8_t shape[2];
        std::uint8_t size[4];
        std::uint8_t check[4];
    };
    using Shape = std::pair<std::uint32_t, std::uint32_t>;  ///< skip, length

    void Append(const PacketRecord& record, const Shape& shape);
    std::uint16_t IndexOf(const Shape& shape);
    const Shape& ShapeOf(std::int64_t packet) const;

    ChunkedList<Entry> entries_;
    /// The start frame of every 64th packet.
    std::vector<std::int64_t> groupStarts_;
    std::vector<Shape> shapes_;
    std::map<Shape, std::uint16_t> shapeIndexes_;
    bool allPositionsFit_ = true;
    std::vector<Segment> segments_;
    std::int64_t endFrame_ = 0;
    bool direct_ = false;
};

}  // namespace zrh::media::detail
