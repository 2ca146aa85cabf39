// SPDX-License-Identifier: MIT
// The float blocks of the mix, and what they cost.
#include "sonrel/mixer/detail/MixBlockPool.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

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

TEST(MixBlockPool, GivesBlocksThatAreZeroOverTheirWholeLength) {
    MixBlockPool pool;
    for (const int frames : {MixBlockPool::BLOCK_FRAMES, 10, 1000, 1, 2000}) {
        pool.Reset();
        const auto block = pool.Acquire(frames);
        EXPECT_TRUE(IsZero(block)) << frames;
        Fill(block, frames);
    }
}

TEST(MixBlockPool, GivesADifferentBlockEachTimeUntilItIsReset) {
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

long long ResidentBytes() {
    long long total = 0;
    long long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

TEST(MixBlockPool, HoldsLessThan64MegabytesAfterTheFirstSixtySecondsAtThirtyFrames) {
    // The object sounds all the time: a silent block is never written.
    ProjectBuilder builder({30.0, 48000, 1800});
    builder.AddObject(builder.AddMedia(Constant(60 * 48000, 1000, 1000)), 0, 1801);
    MixRig rig;
    GuardedBuffer buffer(4 * 60 * 48000);
    const long long before = ResidentBytes();

    ASSERT_EQ(rig.Mixer().GetSamples(builder.Project(), builder.Sequence(), 0, 60 * 48000,
                                     buffer.Data(), buffer.Size(), 0, 0),
              60 * 48000);

    // 1800 blocks of 768000 bytes, of which each block touches the pages of 1600 frames.
    const long long grown = ResidentBytes() - before;
    EXPECT_LT(grown, 64LL << 20);
    EXPECT_GT(grown, 16LL << 20) << "nothing was measured";
}

TEST(MixBlockPool, DoesNotGrowWithASecondRequest) {
    ProjectBuilder builder({30.0, 48000, 300});
    builder.AddObject(builder.AddMedia(Constant(480000, 1000, 1000)), 0, 301);
    MixRig rig;
    rig.Request(builder, 0, 480000);
    const long long before = ResidentBytes();

    for (int i = 0; i < 5; ++i) rig.Request(builder, 0, 480000);

    EXPECT_LT(ResidentBytes() - before, 8LL << 20);
}

}  // namespace
}  // namespace sonrel_tests
