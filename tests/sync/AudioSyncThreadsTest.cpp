// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>
#include <latch>
#include <thread>
#include <vector>

#include "tests/sync/AlignmentRig.h"

namespace sonrel_tests {
namespace {

TEST(AlignmentThreads, EnginesSearchInParallel) {
    const Samples event = Event(1500, 50);
    const Recording shorter = Take(6 * RATE, 1, 2000, event);
    const Recording longer = Take(20 * RATE, 2, 9000, event);
    std::vector<AudioSync::CorrelationResult> results(3);
    {
        std::vector<AlignmentRig> rigs(3);
        std::vector<std::jthread> callers;
        for (std::size_t i = 0; i < results.size(); ++i) {
            callers.emplace_back([&, i] { results[i] = rigs[i].Find(shorter, longer); });
        }
    }

    for (const auto& result : results) {
        EXPECT_EQ(result.offset, 2000 - 9000 + 2);
        EXPECT_EQ(result.correlation, results[0].correlation);
    }
}

TEST(AlignmentThreads, AnotherThreadMayCancelAtAnyMoment) {
    const Samples event = Event(1500, 50);
    AlignmentRig rig;
    const auto shorter = rig.Add(Take(6 * RATE, 1, 2000, event));
    const auto longer = rig.Add(Take(60 * RATE, 2, 9000, event));
    for (int at = 0; at < 40; at += 8) {
        std::atomic<bool> cancel{false};
        std::latch reached(1);
        std::jthread canceller([&] {
            reached.wait();
            cancel = true;
        });
        bool released = false;

        const auto result = AudioSync::FindOffset(
            rig.Engine(), shorter, longer, RATE,
            [&](int done, int) {
                if (done >= at && !released) {
                    released = true;
                    reached.count_down();
                }
            },
            &cancel);

        // Cancelled in time, while refining or too late.
        EXPECT_GE(result.correlation, 0.0);
        EXPECT_LT(std::llabs(result.offset), 60 * RATE);
    }
}

TEST(AlignmentThreads, SignalsAreCorrelatedInParallel) {
    std::vector<float> signal;
    for (int i = 0; i < 30000; ++i) signal.push_back(static_cast<float>(i * 7919 % 2001) / 2001.0f);
    std::vector<AudioSync::CorrelationResult> results(4);
    {
        std::vector<std::jthread> callers;
        for (auto& result : results) {
            callers.emplace_back([&] {
                result = AudioSync::CrossCorrelate(signal.data(), 1, signal.data() + 100, 1, 29000);
            });
        }
    }

    for (const auto& result : results) EXPECT_EQ(result.correlation, results[0].correlation);
}

}  // namespace
}  // namespace sonrel_tests
