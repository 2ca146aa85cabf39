// SPDX-License-Identifier: MIT
#include "sonrel/playback/device/AutoResetEvent.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "tests/playback/device/Timeout.h"

namespace {

using orlo::sonrel::device::AutoResetEvent;
using sonrel_tests::TIMEOUT;

constexpr std::chrono::milliseconds SHORT{1};

TEST(AutoResetEvent, OneWaitTakesAnyNumberOfSignals) {
    AutoResetEvent event;
    event.Signal();
    event.Signal();

    event.Wait();

    EXPECT_FALSE(event.WaitFor(SHORT));
}

TEST(AutoResetEvent, ASignalEndsAWait) {
    AutoResetEvent event;
    auto waiter = std::async(std::launch::async, [&] { return event.WaitFor(TIMEOUT); });

    event.Signal();

    EXPECT_TRUE(waiter.get());
}

TEST(AutoResetEvent, AWaitWithoutASignalEndsAfterItsTimeout) {
    AutoResetEvent event;
    const auto begin = AutoResetEvent::Clock::now();

    EXPECT_FALSE(event.WaitFor(SHORT));

    EXPECT_GE(AutoResetEvent::Clock::now() - begin, SHORT);
}

TEST(AutoResetEvent, ATimeoutOfZeroTestsTheEvent) {
    AutoResetEvent event;
    EXPECT_FALSE(event.WaitFor(std::chrono::milliseconds(0)));
    event.Signal();

    EXPECT_TRUE(event.WaitFor(std::chrono::milliseconds(0)));
}

TEST(AutoResetEvent, ASignalAfterTheDeadlineIsStillTaken) {
    AutoResetEvent event;
    event.Signal();

    EXPECT_TRUE(event.WaitUntil(AutoResetEvent::Clock::now() - TIMEOUT));
}

TEST(AutoResetEvent, AResetTakesTheSignalBack) {
    AutoResetEvent event;
    event.Signal();

    event.Reset();

    EXPECT_FALSE(event.WaitFor(SHORT));
}

}  // namespace
