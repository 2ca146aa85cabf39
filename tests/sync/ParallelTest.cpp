// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "sonrel/sync/detail/Fft.h"
#include "sonrel/sync/detail/Parallel.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::detail::ChunkPlan;
using orlo::sonrel::detail::RunInParallel;

using Chunk = std::pair<unsigned long long, unsigned long long>;

/// The chunks of a run, sorted by their first items.
std::set<Chunk> ChunksOf(unsigned long long count, unsigned int smallestChunk,
                         unsigned int concurrency) {
    std::mutex mutex;
    std::set<Chunk> chunks;
    ChunkPlan plan;
    plan.smallestChunk = smallestChunk;
    plan.concurrency = concurrency;
    RunInParallel(
        count,
        [&](unsigned long long first, unsigned long long end) {
            const std::lock_guard lock(mutex);
            chunks.insert({first, end});
        },
        plan);
    return chunks;
}

TEST(RunInParallel, TheLastChunkGetsTheRemainder) {
    EXPECT_EQ(ChunksOf(10, 1, 3), (std::set<Chunk>{{0, 3}, {3, 6}, {6, 10}}));
}

TEST(RunInParallel, NoChunkIsSmallerThanTheMinimum) {
    EXPECT_EQ(ChunksOf(15, 4, 8), (std::set<Chunk>{{0, 5}, {5, 10}, {10, 15}}));
    EXPECT_EQ(ChunksOf(16, 4, 8), (std::set<Chunk>{{0, 4}, {4, 8}, {8, 12}, {12, 16}}));
}

TEST(RunInParallel, FewerItemsThanTheMinimumAreOneChunk) {
    EXPECT_EQ(ChunksOf(3, 16, 8), (std::set<Chunk>{{0, 3}}));
}

TEST(RunInParallel, NoItemsAreOneEmptyChunk) {
    EXPECT_EQ(ChunksOf(0, 16, 8), (std::set<Chunk>{{0, 0}}));
    EXPECT_EQ(ChunksOf(0, 0, 8), (std::set<Chunk>{{0, 0}}));
}

TEST(RunInParallel, AMinimumOf0AllowsOneItemForEachThread) {
    EXPECT_EQ(ChunksOf(2, 0, 8), (std::set<Chunk>{{0, 1}, {1, 2}}));
    EXPECT_EQ(ChunksOf(9, 0, 2), (std::set<Chunk>{{0, 4}, {4, 9}}));
}

TEST(RunInParallel, AMachineThatReportsNoConcurrencyCountsAsOneProcessor) {
    EXPECT_EQ(ChunksOf(100, 1, 0), (std::set<Chunk>{{0, 100}}));
    EXPECT_EQ(ChunksOf(100, 0, 0), (std::set<Chunk>{{0, 100}}));
    EXPECT_GE(orlo::sonrel::detail::HardwareConcurrency(), 1U);
}

TEST(RunInParallel, OnOneProcessorEverythingRunsOnTheCallingThread) {
    std::vector<std::thread::id> threads;
    ChunkPlan plan;
    plan.smallestChunk = 1;
    plan.concurrency = 1;

    RunInParallel(
        50,
        [&](unsigned long long, unsigned long long) {
            threads.push_back(std::this_thread::get_id());
        },
        plan);

    EXPECT_EQ(threads, std::vector{std::this_thread::get_id()});
}

TEST(RunInParallel, TheLastChunkRunsOnTheCallingThread) {
    std::atomic<bool> here{false};
    ChunkPlan plan;
    plan.smallestChunk = 1;
    plan.concurrency = 3;

    RunInParallel(
        9,
        [&, caller = std::this_thread::get_id()](unsigned long long, unsigned long long end) {
            if (end == 9) here = std::this_thread::get_id() == caller;
        },
        plan);

    EXPECT_TRUE(here);
}

TEST(RunInParallel, DeferredChunksAllRunOnTheCallingThread) {
    std::vector<Chunk> chunks;  // without a lock: one thread
    ChunkPlan plan;
    plan.smallestChunk = 1;
    plan.concurrency = 3;
    plan.launch = std::launch::deferred;

    RunInParallel(
        3,
        [&](unsigned long long first, unsigned long long end) {
            chunks.push_back({first, end});
        },
        plan);

    EXPECT_EQ(chunks, (std::vector<Chunk>{{2, 3}, {0, 1}, {1, 2}}));
}

TEST(RunInParallel, AnExceptionOfATaskReachesTheCaller) {
    std::atomic<int> finished{0};
    ChunkPlan plan;
    plan.smallestChunk = 1;
    plan.concurrency = 4;
    const auto work = [&](unsigned long long first, unsigned long long) {
        if (first == 1) throw std::runtime_error("second chunk");
        ++finished;
    };

    EXPECT_THROW(RunInParallel(4, work, plan), std::runtime_error);
    EXPECT_EQ(finished, 3);
}

TEST(RunInParallel, AnExceptionOfTheLastChunkReachesTheCallerAfterAllTasksHaveFinished) {
    std::atomic<int> finished{0};
    ChunkPlan plan;
    plan.smallestChunk = 1;
    plan.concurrency = 4;
    plan.launch = std::launch::async;
    const auto work = [&](unsigned long long first, unsigned long long) {
        if (first == 3) throw std::runtime_error("last chunk");
        ++finished;
    };

    EXPECT_THROW(RunInParallel(4, work, plan), std::runtime_error);
    EXPECT_EQ(finished, 3);
}

TEST(TransformThreads, TransformsOfDifferentDataRunInParallel) {
    const auto transform = [](unsigned int threads) {
        std::vector<double> data(2U << 17);
        for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<double>(i % 977);
        orlo::sonrel::detail::FastFourierTransform(data.data(), 1U << 17, threads);
        return data;
    };
    const std::vector<double> expected = transform(1);
    std::vector<std::vector<double>> results(4);
    {
        std::vector<std::jthread> callers;
        for (unsigned int i = 0; i < 4; ++i) {
            callers.emplace_back([&, i] { results[i] = transform(i + 1); });
        }
    }

    for (const auto& result : results) EXPECT_EQ(result, expected);
}

}  // namespace
}  // namespace sonrel_tests
