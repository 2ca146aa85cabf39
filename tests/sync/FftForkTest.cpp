// SPDX-License-Identifier: MIT
// The threads that a transform starts. A separate program, because it counts all threads.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <vector>

#include "sonrel/sync/detail/Fft.h"

namespace sonrel_tests {
namespace {

std::atomic<int> threadsStarted = 0;

int ThreadsOfTransform(unsigned int points, unsigned int budget) {
    std::vector<double> data(2 * static_cast<std::size_t>(points), 1.0);
    threadsStarted = 0;
    orlo::sonrel::detail::FastFourierTransform(data.data(), points, budget);
    return threadsStarted;
}

}  // namespace
}  // namespace sonrel_tests

// Replaces the function of the C library, which it calls.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*entry)(void*), void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    ++sonrel_tests::threadsStarted;
    return next(thread, attributes, entry, argument);
}

namespace sonrel_tests {
namespace {

// With a budget of n threads the bit reversal has n chunks and the recursion n leaves. The calling
// thread runs one of each.
TEST(FftForks, ABudgetOfSeveralThreadsIsUsedUp) {
    EXPECT_EQ(ThreadsOfTransform(1U << 18, 2), 1 + 1);
    EXPECT_EQ(ThreadsOfTransform(1U << 18, 3), 2 + 2);
    EXPECT_EQ(ThreadsOfTransform(1U << 18, 4), 3 + 3);
    EXPECT_EQ(ThreadsOfTransform(1U << 18, 5), 4 + 4);
    EXPECT_EQ(ThreadsOfTransform(1U << 18, 8), 7 + 7);
}

TEST(FftForks, ABudgetOfOneThreadStartsNoThread) {
    for (const unsigned int points : {64U, 1U << 16, 1U << 18}) {
        EXPECT_EQ(ThreadsOfTransform(points, 1), 0) << points;
        EXPECT_EQ(ThreadsOfTransform(points, 0), 0) << points;
    }
}

TEST(FftForks, TheForksDependOnTheBudgetAndNotOnTheSize) {
    for (const unsigned int points : {1U << 18, 1U << 19, 1U << 20}) {
        EXPECT_EQ(ThreadsOfTransform(points, 8), 7 + 7) << points;
    }
}

// A half of less than 65536 points runs on the thread that waits for it.
TEST(FftForks, SmallHalvesStartNoThread) {
    EXPECT_EQ(ThreadsOfTransform(1U << 15, 8), 0);
    EXPECT_EQ(ThreadsOfTransform(1U << 16, 8), 7 + 1);
    EXPECT_EQ(ThreadsOfTransform(1U << 17, 8), 7 + 1 + 2);
}

}  // namespace
}  // namespace sonrel_tests
