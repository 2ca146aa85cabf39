// SPDX-License-Identifier: MIT
#include "sonrel/base/ZRCriticalSection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using zrtl::thread::ZRCriticalSection;
using zrtl::thread::ZRLockTypeBase;
using zrtl::thread::ZRScopedLock;

TEST(ZRCriticalSection, IsALockAndCannotBeCopied) {
    EXPECT_TRUE((std::is_base_of_v<ZRLockTypeBase, ZRCriticalSection>));
    EXPECT_FALSE(std::is_copy_constructible_v<ZRCriticalSection>);
    EXPECT_FALSE(std::is_copy_assignable_v<ZRCriticalSection>);
    EXPECT_TRUE(std::has_virtual_destructor_v<ZRLockTypeBase>);
}

TEST(ZRCriticalSection, AThreadThatHoldsItMayTakeItAgainAndReleasesItAsManyTimes) {
    ZRCriticalSection lock;
    bool heldOnce = true;  // guarded by the lock
    std::atomic<bool> begun = false;

    lock.Lock();
    lock.Lock();
    lock.Unlock();
    bool seenByOther = true;
    std::thread other([&] {
        begun = true;
        const ZRScopedLock hold(lock);
        seenByOther = heldOnce;
    });
    while (!begun) std::this_thread::yield();
    heldOnce = false;
    lock.Unlock();
    other.join();

    EXPECT_FALSE(seenByOther);
}

TEST(ZRCriticalSection, ExcludesOtherThreads) {
    ZRCriticalSection lock;
    int counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) {
                const ZRScopedLock hold(lock);
                ++counter;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(counter, 20000);
}

TEST(ZRScopedLock, ReleasesTheLockWhenAnExceptionLeavesTheScope) {
    ZRCriticalSection lock;
    try {
        const ZRScopedLock hold(lock);
        throw std::runtime_error("out");
    } catch (const std::runtime_error&) {
    }
    bool entered = false;

    std::thread([&] {
        const ZRScopedLock hold(lock);
        entered = true;
    }).join();

    EXPECT_TRUE(entered);
}

}  // namespace
