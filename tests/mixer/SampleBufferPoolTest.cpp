// SPDX-License-Identifier: MIT
// The buffers in which clips are rendered, and the memory that stays with the mixer.
#include "sonrel/mixer/detail/SampleBufferPool.h"

#include <gtest/gtest.h>

namespace sonrel_tests {
namespace {

using orlo::sonrel::detail::SampleBufferPool;

/// Fills a buffer of the pool. @return its memory
const unsigned char* FillOne(SampleBufferPool& pool, std::size_t bytes) {
    SampleBufferPool::Buffer buffer(pool);
    SampleBufferPool::Samples& samples = buffer.Get();
    samples.assign(bytes, 0xA5);
    return samples.data();
}

TEST(SampleBufferPool, GivesAnEmptyBufferInTheMemoryOfAnEarlierOne) {
    SampleBufferPool pool;
    const unsigned char* const memory = FillOne(pool, 1000);

    SampleBufferPool::Buffer buffer(pool);

    EXPECT_TRUE(buffer.Get().empty());
    buffer.Get().resize(1000);
    EXPECT_EQ(buffer.Get().data(), memory);
    EXPECT_EQ(buffer.Get(), SampleBufferPool::Samples(1000, 0));
}

TEST(SampleBufferPool, GivesSeparateBuffersAtTheSameTime) {
    SampleBufferPool pool;
    FillOne(pool, 1000);
    SampleBufferPool::Buffer outer(pool);
    SampleBufferPool::Buffer inner(pool);

    outer.Get().assign(10, 1);
    inner.Get().assign(10, 2);

    EXPECT_EQ(outer.Get(), SampleBufferPool::Samples(10, 1));
    EXPECT_EQ(inner.Get(), SampleBufferPool::Samples(10, 2));
}

TEST(SampleBufferPool, GivesTheMemoryOfAllNestedBuffersAgain) {
    SampleBufferPool pool;
    for (int block = 0; block < 2; ++block) {
        SampleBufferPool::Buffer outer(pool);
        SampleBufferPool::Buffer inner(pool);
        if (block > 0) {
            EXPECT_GE(outer.Get().capacity(), 1000u);
            EXPECT_GE(inner.Get().capacity(), 1000u);
        }
        outer.Get().assign(1000, 1);
        inner.Get().assign(1000, 2);
    }
}

TEST(SampleBufferPool, KeepsNoBufferThatIsLongerThanABlock) {
    SampleBufferPool pool;
    FillOne(pool, SampleBufferPool::MAX_KEPT_BYTES + 1);

    EXPECT_EQ(SampleBufferPool::Buffer(pool).Get().capacity(), 0u);
    FillOne(pool, SampleBufferPool::MAX_KEPT_BYTES);

    EXPECT_EQ(SampleBufferPool::Buffer(pool).Get().capacity(), SampleBufferPool::MAX_KEPT_BYTES);
}

}  // namespace
}  // namespace sonrel_tests
