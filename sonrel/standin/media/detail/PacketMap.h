// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

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

/// Equal packets in a row: of the output of each, @p skip frames are left out and the next
/// @p length are heard.
struct SpanRun {
    std::int64_t firstPacket = 0;
    std::int64_t startFrame = 0;
    std::uint32_t skip = 0;
    std::uint32_t length = 0;
};

/// A stretch of packets that a fresh decoder decodes on its own. It begins to decode earlier, at
/// the preroll packet, and drops what comes of that.
struct Segment {
    std::int64_t firstPacket = 0;
    std::int64_t prerollPacket = 0;
    /// The container's time of the preroll packet, for a seek.
    std::int64_t prerollTime = 0;
};

/// The frames of one packet in the stream.
struct PacketSpan {
    std::int64_t startFrame = 0;
    std::uint32_t skip = 0;
    std::uint32_t length = 0;
};

/// Which packet holds which sample frames of a stream. Frames are counted, never placed by the
/// times in a container, which are rounded and have gaps that are none.
class PacketMap {
public:
    /// @param startFrame  frame at which the first packet is heard: the silence before it
    explicit PacketMap(std::int64_t startFrame = 0) : endFrame_(startFrame) {}

    void AddPacket(const PacketRecord& record, std::uint32_t skip, std::uint32_t length);
    void AddSegment(const Segment& segment) { segments_.push_back(segment); }
    /// Makes the whole stream one segment, for a decoder that cannot begin in the middle.
    void MergeSegments();
    /// Cuts the stream so that it ends at @p endFrame.
    void CutAt(std::int64_t endFrame);
    void SetDirect(bool direct) { direct_ = direct; }
    void ForgetPositions();

    std::int64_t PacketCount() const { return static_cast<std::int64_t>(packets_.size()); }
    const PacketRecord& Packet(std::int64_t index) const {
        return packets_[static_cast<std::size_t>(index)];
    }
    const std::vector<PacketRecord>& Packets() const { return packets_; }
    const std::vector<Segment>& Segments() const { return segments_; }
    std::int64_t EndFrame() const { return endFrame_; }
    /// Every packet lies whole in the file, at its recorded position.
    bool IsDirect() const { return direct_; }

    PacketSpan SpanOf(std::int64_t packet) const;
    /// The packet in which a frame is heard.
    /// @param frame  from the first packet's start to EndFrame, exclusive
    std::int64_t PacketAt(std::int64_t frame) const;
    /// Index of the segment that a packet belongs to.
    std::size_t SegmentOf(std::int64_t packet) const;

private:
    std::vector<PacketRecord> packets_;
    std::vector<SpanRun> runs_;
    std::vector<Segment> segments_;
    std::int64_t endFrame_ = 0;
    bool direct_ = false;
};

}  // namespace zrh::media::detail
