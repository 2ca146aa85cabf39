// SPDX-License-Identifier: MIT
#include "sonrel/standin/media/detail/PacketMap.h"

#include <algorithm>

namespace zrh::media::detail {

void PacketMap::AddPacket(const PacketRecord& record, std::uint32_t skip, std::uint32_t length) {
    if (runs_.empty() || runs_.back().skip != skip || runs_.back().length != length) {
        runs_.push_back({PacketCount(), endFrame_, skip, length});
    }
    packets_.push_back(record);
    endFrame_ += length;
}

void PacketMap::MergeSegments() {
    if (segments_.size() > 1) segments_.resize(1);
}

void PacketMap::CutAt(std::int64_t endFrame) {
    while (endFrame_ > endFrame && !packets_.empty()) {
        const std::int64_t last = PacketCount() - 1;
        const PacketSpan span = SpanOf(last);
        const PacketRecord record = Packet(last);
        packets_.pop_back();
        if (runs_.back().firstPacket == last) runs_.pop_back();
        endFrame_ = span.startFrame;
        if (endFrame_ < endFrame) {
            AddPacket(record, span.skip, static_cast<std::uint32_t>(endFrame - endFrame_));
        }
    }
    while (!segments_.empty() && segments_.back().firstPacket >= PacketCount()) {
        segments_.pop_back();
    }
}

void PacketMap::ForgetPositions() {
    for (PacketRecord& packet : packets_) packet.position = -1;
}

PacketSpan PacketMap::SpanOf(std::int64_t packet) const {
    const auto behind =
        std::upper_bound(runs_.begin(), runs_.end(), packet,
                         [](std::int64_t p, const SpanRun& run) { return p < run.firstPacket; });
    const SpanRun& run = *(behind - 1);
    return {run.startFrame + (packet - run.firstPacket) * run.length, run.skip, run.length};
}

std::int64_t PacketMap::PacketAt(std::int64_t frame) const {
    // Of runs that begin at one frame, only the last has a length: the others are not heard.
    const auto behind =
        std::upper_bound(runs_.begin(), runs_.end(), frame,
                         [](std::int64_t f, const SpanRun& run) { return f < run.startFrame; });
    const SpanRun& run = *(behind - 1);
    return run.firstPacket + (frame - run.startFrame) / run.length;
}

std::size_t PacketMap::SegmentOf(std::int64_t packet) const {
    const auto behind = std::upper_bound(
        segments_.begin(), segments_.end(), packet,
        [](std::int64_t p, const Segment& segment) { return p < segment.firstPacket; });
    return static_cast<std::size_t>(behind - segments_.begin()) - 1;
}

}  // namespace zrh::media::detail
