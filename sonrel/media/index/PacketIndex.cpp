// SPDX-License-Identifier: MIT
#include "sonrel/media/index/PacketIndex.h"

#include <algorithm>

namespace zrh::media::detail {
namespace {

constexpr std::int64_t NO_POSITION = (1LL << 40) - 1;

/// Stores the lower bytes of a number.
template <std::size_t SIZE>
void Store(std::uint64_t value, std::uint8_t (&bytes)[SIZE]) {
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(value);
        value >>= 8;
    }
}

template <std::size_t SIZE>
std::uint64_t Load(const std::uint8_t (&bytes)[SIZE]) {
    std::uint64_t value = 0;
    for (std::size_t i = SIZE; i > 0; --i) value = value << 8 | bytes[i - 1];
    return value;
}

}  // namespace

bool PacketIndex::AddPacket(const PacketRecord& record, std::uint32_t skip, std::uint32_t length) {
    if (shapes_.size() >= MAX_SHAPES && !shapeIndexes_.contains({skip, length})) return false;
    Append(record, {skip, length});
    return true;
}

void PacketIndex::Append(const PacketRecord& record, const Shape& shape) {
    if (record.position >= NO_POSITION) allPositionsFit_ = false;
    const bool known = record.position >= 0 && record.position < NO_POSITION;
    Entry entry;
    Store(static_cast<std::uint64_t>(known ? record.position : NO_POSITION), entry.position);
    Store(IndexOf(shape), entry.shape);
    Store(record.size, entry.size);
    Store(record.check, entry.check);
    if (PacketCount() % GROUP == 0) groupStarts_.push_back(endFrame_);
    entries_.Append(entry);
    endFrame_ += shape.second;
}

std::uint16_t PacketIndex::IndexOf(const Shape& shape) {
    const auto [at, isNew] =
        shapeIndexes_.try_emplace(shape, static_cast<std::uint16_t>(shapes_.size()));
    if (isNew) shapes_.push_back(shape);
    return at->second;
}

const PacketIndex::Shape& PacketIndex::ShapeOf(std::int64_t packet) const {
    return shapes_[Load(entries_.At(static_cast<std::size_t>(packet)).shape)];
}

PacketRecord PacketIndex::Packet(std::int64_t index) const {
    const Entry& entry = entries_.At(static_cast<std::size_t>(index));
    const auto position = static_cast<std::int64_t>(Load(entry.position));
    return {position == NO_POSITION ? -1 : position, static_cast<std::uint32_t>(Load(entry.size)),
            static_cast<std::uint32_t>(Load(entry.check))};
}

void PacketIndex::MergeSegments() {
    if (segments_.size() > 1) segments_.resize(1);
}

void PacketIndex::CutAt(std::int64_t endFrame) {
    while (endFrame_ > endFrame && PacketCount() > 0) {
        const std::int64_t last = PacketCount() - 1;
        const PacketSpan span = SpanOf(last);
        const PacketRecord record = Packet(last);
        entries_.RemoveLast();
        if (last % GROUP == 0) groupStarts_.pop_back();
        endFrame_ = span.startFrame;
        if (endFrame_ < endFrame) {
            Append(record, {span.skip, static_cast<std::uint32_t>(endFrame - endFrame_)});
        }
    }
    while (!segments_.empty() && segments_.back().firstPacket >= PacketCount()) {
        segments_.pop_back();
    }
}

void PacketIndex::ForgetPositions() {
    for (std::size_t i = 0; i < entries_.Size(); ++i) {
        Store(static_cast<std::uint64_t>(NO_POSITION), entries_.At(i).position);
    }
}

PacketSpan PacketIndex::SpanOf(std::int64_t packet) const {
    const std::int64_t group = packet / GROUP;
    std::int64_t start = groupStarts_[static_cast<std::size_t>(group)];
    for (std::int64_t i = group * GROUP; i < packet; ++i) start += ShapeOf(i).second;
    const Shape& shape = ShapeOf(packet);
    return {start, shape.first, shape.second};
}

std::int64_t PacketIndex::PacketAt(std::int64_t frame) const {
    // If several groups start at one frame, only the last has frames.
    const auto next = std::upper_bound(groupStarts_.begin(), groupStarts_.end(), frame);
    std::int64_t packet = (next - groupStarts_.begin() - 1) * GROUP;
    std::int64_t end = *(next - 1) + ShapeOf(packet).second;
    while (end <= frame) end += ShapeOf(++packet).second;
    return packet;
}

std::size_t PacketIndex::SegmentOf(std::int64_t packet) const {
    const auto next = std::upper_bound(
        segments_.begin(), segments_.end(), packet,
        [](std::int64_t p, const Segment& segment) { return p < segment.firstPacket; });
    return static_cast<std::size_t>(next - segments_.begin()) - 1;
}

}  // namespace zrh::media::detail
