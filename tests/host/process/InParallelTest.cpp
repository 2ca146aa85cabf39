// SPDX-License-Identifier: MIT
#include "host/process/InParallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>

#include "host/shell/Interrupt.h"
#include "tests/support/Threads.h"

namespace orlo::host {
namespace {

constexpr std::size_t COUNT = 100;

/// The calls with each number.
using Counters = std::unique_ptr<std::atomic<int>[]>;

Counters NewCounters() {
    return std::make_unique<std::atomic<int>[]>(COUNT);
}

TEST(InParallel, CallsTheWorkOnceWithEachNumber) {
    for (const int jobs : {-1, 0, 1, 2, 7, 200}) {
        const Counters calls = NewCounters();

        InParallel(COUNT, jobs, [&](std::size_t number) { ++calls[number]; });

        for (std::size_t i = 0; i < COUNT; ++i) EXPECT_EQ(calls[i], 1) << jobs << " jobs, " << i;
    }
}

TEST(InParallel, WithoutNumbersCallsNothing) {
    InParallel(0, 4, [](std::size_t) { FAIL(); });
}

TEST(InParallel, WithOneJobStaysOnThisThreadInOrder) {
    std::size_t next = 0;

    InParallel(COUNT, 1, [&, caller = std::this_thread::get_id()](std::size_t number) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        EXPECT_EQ(number, next++);
    });
}

TEST(InParallel, HasAThreadForEachJobAndAtMostOneForEachNumber) {
    for (const auto& [count, jobs, threads] :
         {std::tuple{COUNT, 1, 1u}, {COUNT, 7, 7u}, {3, 7, 3u}}) {
        const auto before = sonrel_tests::ThreadNumbers();
        std::size_t helpers = COUNT;
        std::atomic<bool> isCounted = false;

        // This thread begins its first call when all others exist, and they wait for it.
        InParallel(count, jobs, [&, caller = std::this_thread::get_id()](std::size_t) {
            if (std::this_thread::get_id() == caller && !isCounted) {
                helpers = sonrel_tests::CountNew(sonrel_tests::ThreadNumbers(), before);
                isCounted = true;
            }
            while (!isCounted) std::this_thread::yield();
        });

        EXPECT_EQ(helpers, threads - 1) << jobs;
    }
}

/// The message of the failure that reaches the caller; empty without a failure.
template <class Work>
std::string FailureOfTwoJobs(const Work& work) {
    try {
        InParallel(COUNT, 2, work);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

/// Sets a flag when its thread has ended.
struct EndOfThread {
    std::atomic<bool>& hasEnded;
    ~EndOfThread() { hasEnded = true; }
};

TEST(InParallel, AFailureOfALaterNumberDoesNotReplaceAFailure) {
    constexpr std::size_t NONE = COUNT;
    std::atomic<std::size_t> numberOfHelper = NONE;
    std::atomic<bool> hasLaterBegun = false;
    std::atomic<bool> hasHelperEnded = false;
    const auto work = [&, caller = std::this_thread::get_id()](std::size_t number) {
        if (std::this_thread::get_id() != caller) {
            thread_local const EndOfThread end{hasHelperEnded};
            numberOfHelper = number;
            while (!hasLaterBegun) std::this_thread::yield();
            throw std::runtime_error("earlier");
        }
        while (numberOfHelper == NONE) std::this_thread::yield();
        if (number < numberOfHelper) return;
        hasLaterBegun = true;
        while (!hasHelperEnded) std::this_thread::yield();
        throw std::runtime_error("later");
    };

    EXPECT_EQ(FailureOfTwoJobs(work), "earlier");
}

TEST(InParallel, OfTwoFailuresRethrowsThatOfTheLowestNumberAndBeginsNoOther) {
    const Counters calls = NewCounters();
    std::atomic<bool> hasFailed = false;
    const auto work = [&](std::size_t number) {
        ++calls[number];
        if (number == 5) {
            hasFailed = true;
            throw std::runtime_error("5");
        }
        if (number == 3) {
            while (!hasFailed) std::this_thread::yield();
            throw std::runtime_error("3");
        }
    };

    EXPECT_EQ(FailureOfTwoJobs(work), "3");
    for (std::size_t i = 0; i < COUNT; ++i) EXPECT_EQ(calls[i], i <= 5 ? 1 : 0) << i;
}

TEST(InParallel, EachCallPollsTheInterruptFlagOfTheCaller) {
    std::atomic<bool> flag = true;
    const InterruptFlagScope scope(&flag);
    std::atomic<int> interrupted = 0;

    InParallel(COUNT, 4, [&](std::size_t) { interrupted += Interrupted() ? 1 : 0; });

    EXPECT_EQ(interrupted, static_cast<int>(COUNT));
}

}  // namespace
}  // namespace orlo::host
