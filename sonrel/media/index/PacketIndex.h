// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "sonrel/media/index/ChunkedList.h"

namespace zrh::media::detail {

/// Tells one packet of a stream from all others.
struct PacketRecord {
    /// Where the packet's bytes begin in the file when the map is direct; otherwise what the
    /// container says about it, -1 for nothing.
    std::int64_t position = -1;
    std::uint32_t size = 0;
    /// A checksum of the packet's bytes.
    std::uint32_t check = 0;

    bool operator==(const PacketRecord&) const = default;
};

/// A stretch of packets that a fresh decoder decodes on its own. It begins to decode earlier, at
/// the preroll packet, and drops what comes of that.
struct Segment {
    std::int64_t firstPacket = 0;
    std::int64_t prerollPacket = 0;
    /// The container's time of the preroll packet, for a seek.
    std::int64_t prerollTime = 0;
};

/// The frames of one packet in the stream: of its output, @p skip frames are left out and the next
/// @p length are heard.
struct PacketSpan {
    std::int64_t startFrame = 0;
    std::uint32_t skip = 0;
    std::uint32_t length = 0;
};

/// Which packet holds which sample frames of a stream. Frames are counted, never placed by the
/// times in a container, which are rounded and have gaps that are none.
///
/// A packet takes at most 16 bytes of memory: 15 of its entry, with its length as the index of one
/// of the lengths that occur, and its part of the start that every 64th packet has.
class PacketIndex {
public:
    /// @param startFrame  frame at which the first packet is heard: the silence before it
    explicit PacketIndex(std::int64_t startFrame = 0) : endFrame_(startFrame) {}

    /// Packets may have so many different spans.
    static constexpr std::size_t MAX_SHAPES = 65535;

    /// @return false when the packet was not added, as there are too many different spans
    bool AddPacket(const PacketRecord& record, std::uint32_t skip, std::uint32_t length);
    void AddSegment(const Segment& segment) { segments_.push_back(segment); }
    /// Makes the whole stream one segment, for a decoder that cannot begin in the middle.
    void MergeSegments();
    /// Cuts the stream so that it ends at @p endFrame.
    void CutAt(std::int64_t endFrame);
    void SetDirect(bool direct) { direct_ = direct; }
    void ForgetPositions();

    std::int64_t PacketCount() const { return static_cast<std::int64_t>(entries_.Size()); }
    PacketRecord Packet(std::int64_t index) const;
    const std::vector<Segment>& Segments() const { return segments_; }
    std::int64_t EndFrame() const { return endFrame_; }
    /// Every packet lies whole in the file, at its recorded position.
    bool IsDirect() const { return direct_ && allPositionsFit_; }

    PacketSpan SpanOf(std::int64_t packet) const;
    /// The packet in which a frame is heard.
    /// @param frame  from the first packet's start to EndFrame, exclusive
    std::int64_t PacketAt(std::int64_t frame) const;
    /// Index of the segment that a packet belongs to.
    std::size_t SegmentOf(std::int64_t packet) const;

private:
    static constexpr std::int64_t GROUP = 64;

    /// A packet, packed: numbers of 4 bytes would be padded.
    struct Entry {
        std::uint8_t position[5];  ///< all ones: not known
        std::uint8_t shape[2];
        std::uint8_t size[4];
        std::uint8_t check[4];
    };
    using Shape = std::pair<std::uint32_t, std::uint32_t>;  ///< skip, length

    void Append(const PacketRecord& record, const Shape& shape);
    std::uint16_t IndexOf(const Shape& shape);
    const Shape& ShapeOf(std::int64_t packet) const;

    ChunkedList<Entry> entries_;
    /// The frame at which every 64th packet is heard.
    std::vector<std::int64_t> groupStarts_;
    std::vector<Shape> shapes_;
    std::map<Shape, std::uint16_t> shapeIndexes_;
    bool allPositionsFit_ = true;
    std::vector<Segment> segments_;
    std::int64_t endFrame_ = 0;
    bool direct_ = false;
};

}  // namespace zrh::media::detail
