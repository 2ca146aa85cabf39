// SPDX-License-Identifier: MIT
// The float blocks of the mix, and their cost in memory.
#include "sonrel/mixer/detail/MixBlockPool.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "tests/support/MixRig.h"

namespace sonrel_tests {
namespace {

using sonrel::detail::MixBlockPool;

bool IsZero(const boost::shared_array<float>& block) {
    return std::all_of(block.get(), block.get() + MixBlockPool::BLOCK_FLOATS,
                       [](float value) { return value == 0.0f; });
}

void Fill(const boost::shared_array<float>& block, int frames) {
    std::fill_n(block.get(), 2 * frames, 0.5f);
}

TEST(MixBlockPool, ReturnsBlocksThatAreZeroOverTheirWholeLength) {
    MixBlockPool pool;
    for (const int frames : {MixBlockPool::BLOCK_FRAMES, 10, 1000, 1, 2000}) {
        pool.Reset();
        const auto block = pool.Acquire(frames);
        EXPECT_TRUE(IsZero(block)) << frames;
        Fill(block, frames);
    }
}

TEST(MixBlockPool, ReturnsADifferentBlockEachTimeUntilItIsReset) {
    MixBlockPool pool;
    const auto first = pool.Acquire(10);
    const auto second = pool.Acquire(10);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(pool.Depth(), 2);

    pool.Reset();

    EXPECT_EQ(pool.Depth(), 0);
    EXPECT_EQ(pool.Acquire(10).get(), first.get());
    EXPECT_EQ(pool.Acquire(10).get(), second.get());
}

TEST(MixBlockPool, TakesABlockBeforeItIsZero) {
    MixBlockPool pool;
    const auto first = pool.Acquire(10);
    Fill(first, 10);
    pool.Reset();

    const int taken = pool.Take();
    EXPECT_EQ(pool.Depth(), 1);
    EXPECT_NE(pool.Acquire(10).get(), first.get());
    EXPECT_FALSE(IsZero(first));

    const auto again = pool.Zeroed(taken, 10);
    EXPECT_EQ(again.get(), first.get());
    EXPECT_TRUE(IsZero(again));
}

TEST(MixBlockPool, KeepsABlockInUseWhileItGrows) {
    MixBlockPool pool;
    const auto first = pool.Acquire(1);
    first[0] = 0.25f;

    for (int i = 0; i < 1000; ++i) pool.Acquire(1);

    EXPECT_EQ(first[0], 0.25f);
    EXPECT_EQ(pool.Depth(), 1001);
}

TEST(MixBlockPool, OutlivedByABlockLeavesItUsable) {
    boost::shared_array<float> block;
    {
        MixBlockPool pool;
        block = pool.Acquire(MixBlockPool::BLOCK_FRAMES);
    }
    Fill(block, MixBlockPool::BLOCK_FRAMES);
    EXPECT_EQ(block[MixBlockPool::BLOCK_FLOATS - 1], 0.5f);
}

/// Bytes of the pages that the first @p blocks of a mixer's pool hold in memory. Taking a block for
/// no frames writes to no page that it did not hold before.
long long ResidentBytes(MixRig& rig, int blocks) {
    MixBlockPool& pool = sonrel::AudioMixerAccess::Impl(rig.Mixer()).floatBlocks;
    constexpr std::size_t BLOCK_BYTES = MixBlockPool::BLOCK_FLOATS * sizeof(float);
    const long pageBytes = sysconf(_SC_PAGESIZE);
    std::vector<unsigned char> pages(BLOCK_BYTES / static_cast<std::size_t>(pageBytes) + 1);
    long long resident = 0;
    pool.Reset();
    for (int i = 0; i < blocks; ++i) {
        const auto block = pool.Acquire(0);
        EXPECT_EQ(mincore(block.get(), BLOCK_BYTES, pages.data()), 0);
        resident += std::count_if(pages.begin(), pages.end(),
                                  [](unsigned char page) { return (page & 1) != 0; });
    }
    return resident * pageBytes;
}

TEST(MixBlockPool, HoldsLessThan64MegabytesAfterTheFirstSixtySecondsAtThirtyFrames) {
    // The object sounds all the time: a silent block is never written.
    ProjectBuilder builder({30.0, 48000, 1800});
    builder.AddObject(builder.AddMedia(Constant(60 * 48000, 1000, 1000)), 0, 1801);
    MixRig rig;

    ASSERT_EQ(rig.Request(builder, 0, 60 * 48000).result, 60 * 48000);

    // 1800 blocks of 1600 frames: four pages of the 188 in each.
    const long long resident = ResidentBytes(rig, 1800);
    EXPECT_LT(resident, 64LL << 20);
    EXPECT_GE(resident, 1800LL * 1600 * 8) << "nothing was measured";
}

TEST(MixBlockPool, DoesNotGrowWithMoreRequestsOfTheSameLength) {
    ProjectBuilder builder({30.0, 48000, 300});
    builder.AddObject(builder.AddMedia(Constant(480000, 1000, 1000)), 0, 301);
    MixRig rig;
    rig.Request(builder, 0, 480000);
    const long long before = ResidentBytes(rig, 300);

    for (int i = 0; i < 5; ++i) rig.Request(builder, 0, 480000);

    EXPECT_EQ(ResidentBytes(rig, 300), before);
}

}  // namespace
}  // namespace sonrel_tests
