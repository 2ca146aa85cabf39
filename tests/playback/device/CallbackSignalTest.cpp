// SPDX-License-Identifier: MIT
#include "sonrel/playback/device/CallbackSignal.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "tests/playback/device/Timeout.h"
#include "tests/support/Threads.h"

namespace {

using orlo::sonrel::device::CallbackGate;
using orlo::sonrel::device::CallbackSignal;
using sonrel_tests::TIMEOUT;

/// Long enough for a wait that does not block.
constexpr std::chrono::milliseconds A_WHILE{20};

std::future<void> WaitElsewhere(const CallbackGate& gate) {
    return std::async(std::launch::async, [&] { gate.WaitUntilLeft(); });
}

TEST(CallbackSignal, AWaitPastACountEndsWithTheNextAdvance) {
    CallbackSignal signal;
    const auto seen = signal.Seen();
    auto waiter = std::async(std::launch::async, [&] { signal.WaitPast(seen); });
    EXPECT_EQ(waiter.wait_for(A_WHILE), std::future_status::timeout);

    signal.Advance();

    EXPECT_EQ(waiter.wait_for(TIMEOUT), std::future_status::ready);
}

TEST(CallbackSignal, AnAdvanceBeforeTheWaitIsNotMissed) {
    CallbackSignal signal;
    const auto seen = signal.Seen();

    signal.Advance();

    signal.WaitPast(seen);
    EXPECT_NE(signal.Seen(), seen);
}

TEST(CallbackSignal, NoEndIsMissedByAThreadThatTestsBeforeItWaits) {
    constexpr int ROUNDS = 10000;
    CallbackSignal ends;
    std::atomic<int> queued = ROUNDS;
    std::thread device([&] {
        while (queued > 0) {
            --queued;
            ends.Advance();
        }
    });

    for (;;) {
        const auto seen = ends.Seen();
        if (queued == 0) break;
        ends.WaitPast(seen);
    }

    device.join();
}

TEST(CallbackGate, AWaitReturnsAtOnceWhileNobodyIsInside) {
    CallbackGate gate;
    EXPECT_FALSE(gate.IsBusy());

    gate.WaitUntilLeft();

    { const CallbackGate::Scope scope(gate); }
    gate.WaitUntilLeft();
    EXPECT_FALSE(gate.IsBusy());
}

TEST(CallbackGate, AWaitEndsWhenTheWorkUnderWayHasFinished) {
    CallbackGate gate;
    gate.Enter();
    auto waiter = WaitElsewhere(gate);
    EXPECT_EQ(waiter.wait_for(A_WHILE), std::future_status::timeout);
    EXPECT_TRUE(gate.IsBusy());

    gate.Leave();

    EXPECT_EQ(waiter.wait_for(TIMEOUT), std::future_status::ready);
}

TEST(CallbackGate, AWaitDoesNotWaitForWorkThatBeginsLater) {
    CallbackGate gate;
    gate.Enter();
    std::atomic<pid_t> number = 0;
    auto waiter = std::async(std::launch::async, [&] {
        number = gettid();
        gate.WaitUntilLeft();
    });
    // On a busy machine a thread may begin late, and would wait for the later work rightly.
    const auto deadline = std::chrono::steady_clock::now() + TIMEOUT;
    const auto waits = [&] { return number != 0 && sonrel_tests::IsAsleep(number); };
    while (!waits() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
    EXPECT_TRUE(waits());

    gate.Leave();
    gate.Enter();

    EXPECT_EQ(waiter.wait_for(TIMEOUT), std::future_status::ready);
    gate.Leave();
}

TEST(CallbackGate, TheThreadInsideDoesNotWaitForItself) {
    CallbackGate gate;
    const CallbackGate::Scope scope(gate);

    gate.WaitUntilLeft();

    EXPECT_TRUE(gate.IsInside());
    EXPECT_FALSE(std::async(std::launch::async, [&] { return gate.IsInside(); }).get());
}

}  // namespace
