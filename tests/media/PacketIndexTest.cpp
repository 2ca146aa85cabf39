// SPDX-License-Identifier: MIT
#include "sonrel/media/index/PacketIndex.h"

#include <gtest/gtest.h>
#include <malloc.h>

using zrh::media::detail::PacketIndex;
using zrh::media::detail::PacketRecord;
using zrh::media::detail::PacketSpan;

namespace {

/// Packets of 100 frames: the first skips 30 frames, the third has no used frames, and the fifth
/// has 40.
PacketIndex SmallIndex() {
    PacketIndex index;
    index.AddSegment({0, 0, 0});
    index.AddPacket({0, 10, 1}, 30, 70);
    index.AddPacket({10, 10, 2}, 0, 100);
    index.AddPacket({20, 10, 3}, 100, 0);
    index.AddSegment({3, 1, 7});
    index.AddPacket({30, 10, 4}, 0, 100);
    index.AddPacket({40, 10, 5}, 0, 40);
    return index;
}

void ExpectSpan(const PacketSpan& span, long long start, unsigned int skip, unsigned int length) {
    EXPECT_EQ(span.startFrame, start);
    EXPECT_EQ(span.skip, skip);
    EXPECT_EQ(span.length, length);
}

}  // namespace

TEST(PacketIndex, TheEndIsTheSumOfAllUsedFrames) {
    EXPECT_EQ(SmallIndex().EndFrame(), 310);
}

TEST(PacketIndex, SpansFollowEachOther) {
    const PacketIndex index = SmallIndex();

    ExpectSpan(index.SpanOf(0), 0, 30, 70);
    ExpectSpan(index.SpanOf(1), 70, 0, 100);
    ExpectSpan(index.SpanOf(2), 170, 100, 0);
    ExpectSpan(index.SpanOf(3), 170, 0, 100);
    ExpectSpan(index.SpanOf(4), 270, 0, 40);
}

TEST(PacketIndex, FramesAreFoundInTheirPackets) {
    const PacketIndex index = SmallIndex();

    EXPECT_EQ(index.PacketAt(0), 0);
    EXPECT_EQ(index.PacketAt(69), 0);
    EXPECT_EQ(index.PacketAt(70), 1);
    EXPECT_EQ(index.PacketAt(169), 1);
    EXPECT_EQ(index.PacketAt(170), 3);
    EXPECT_EQ(index.PacketAt(269), 3);
    EXPECT_EQ(index.PacketAt(270), 4);
    EXPECT_EQ(index.PacketAt(309), 4);
}

TEST(PacketIndex, PacketsBelongToTheSegmentThatBeginsBeforeThem) {
    const PacketIndex index = SmallIndex();

    EXPECT_EQ(index.SegmentOf(0), 0u);
    EXPECT_EQ(index.SegmentOf(2), 0u);
    EXPECT_EQ(index.SegmentOf(3), 1u);
    EXPECT_EQ(index.SegmentOf(4), 1u);
}

TEST(PacketIndex, CutInsideTheLastPacketShortensIt) {
    PacketIndex index = SmallIndex();

    index.CutAt(300);

    EXPECT_EQ(index.EndFrame(), 300);
    EXPECT_EQ(index.PacketCount(), 5);
    ExpectSpan(index.SpanOf(4), 270, 0, 30);
}

TEST(PacketIndex, CutBeforeTheLastPacketRemovesIt) {
    PacketIndex index = SmallIndex();

    index.CutAt(200);

    EXPECT_EQ(index.EndFrame(), 200);
    EXPECT_EQ(index.PacketCount(), 4);
    ExpectSpan(index.SpanOf(3), 170, 0, 30);
    EXPECT_EQ(index.PacketAt(199), 3);
}

TEST(PacketIndex, CutAtAPacketsStartRemovesItsSegmentToo) {
    PacketIndex index = SmallIndex();

    index.CutAt(170);

    EXPECT_EQ(index.EndFrame(), 170);
    EXPECT_EQ(index.Segments().size(), 1u);
    EXPECT_EQ(index.PacketAt(169), 1);
}

TEST(PacketIndex, ACutAfterTheEndChangesNothing) {
    PacketIndex index = SmallIndex();

    index.CutAt(311);

    EXPECT_EQ(index.EndFrame(), 310);
    EXPECT_EQ(index.PacketCount(), 5);
}

TEST(PacketIndex, RecordsAreReadBackUnchanged) {
    PacketIndex index;
    const PacketRecord first = {0xFEDCBA9876, 0xFEDCBA98, 0x89ABCDEF};
    const PacketRecord second = {-1, 0, 0xFFFFFFFF};

    index.AddPacket(first, 0, 1);
    index.AddPacket(second, 0, 1);
    index.SetDirect(true);

    EXPECT_EQ(index.Packet(0), first);
    EXPECT_EQ(index.Packet(1), second);
    EXPECT_TRUE(index.IsDirect());
}

TEST(PacketIndex, APositionThatDoesNotFitIsUnknownAndTheIndexIsNotDirect) {
    PacketIndex index;
    index.AddPacket({(1LL << 40) - 2, 1, 1}, 0, 1);
    index.SetDirect(true);
    ASSERT_TRUE(index.IsDirect());

    index.AddPacket({(1LL << 40) - 1, 1, 1}, 0, 1);

    EXPECT_EQ(index.Packet(0).position, (1LL << 40) - 2);
    EXPECT_EQ(index.Packet(1).position, -1);
    EXPECT_FALSE(index.IsDirect());
}

TEST(PacketIndex, FramesAreFoundInThousandsOfPacketsOfManyLengths) {
    PacketIndex index;
    std::vector<PacketSpan> spans;
    long long start = 0;
    for (unsigned int i = 0; i < 5000; ++i) {
        // Every third run of 200 packets has no used frames.
        const unsigned int length = i / 200 % 3 == 2 ? 0 : 1 + i % 7;
        index.AddPacket({}, i % 5, length);
        spans.push_back({start, i % 5, length});
        start += length;
    }

    for (std::int64_t i = 0; i < 5000; ++i) {
        const PacketSpan& span = spans[static_cast<std::size_t>(i)];
        ExpectSpan(index.SpanOf(i), span.startFrame, span.skip, span.length);
        for (unsigned int frame = 0; frame < span.length; ++frame) {
            ASSERT_EQ(index.PacketAt(span.startFrame + frame), i);
        }
    }
}

TEST(PacketIndex, APacketNeedsAtMost16BytesForAnyLengths) {
    const auto before = mallinfo2();
    PacketIndex index;

    for (unsigned int i = 0; i < 1000000; ++i) index.AddPacket({i, 1, 1}, 0, 100 + i % 50);

    const auto after = mallinfo2();
    EXPECT_LE(after.uordblks + after.hblkhd, before.uordblks + before.hblkhd + 16000000);
}

TEST(PacketIndex, MoreThan65535DifferentSpansAreRefused) {
    PacketIndex index;
    for (unsigned int i = 1; i <= 65535; ++i) ASSERT_TRUE(index.AddPacket({}, 0, i));

    EXPECT_FALSE(index.AddPacket({}, 0, 65536));
    EXPECT_TRUE(index.AddPacket({}, 0, 65535));
    EXPECT_EQ(index.PacketCount(), 65536);
}

TEST(PacketIndex, ACutNeedsNoAdditionalSpan) {
    PacketIndex index;
    index.AddSegment({0, 0, 0});
    for (unsigned int i = 1; i <= 65535; ++i) index.AddPacket({}, 0, i + 1);

    index.CutAt(index.EndFrame() - 65535);

    EXPECT_EQ(index.SpanOf(65534).length, 1u);
}
