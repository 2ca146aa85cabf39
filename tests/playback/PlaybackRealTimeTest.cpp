// SPDX-License-Identifier: MIT
// The engine on the device's thread: no allocation, and no lock except the locks of the meters at
// the end of a run.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <thread>

#include "tests/playback/PlaybackRig.h"
#include "tests/playback/RealTimeProbe.h"

namespace sonrel_tests {
namespace {

/// This thread acts as the device's, while the worker of a run waits for room.
class PlaybackRealTime : public testing::Test {
protected:
    PlaybackRealTime() {
        rig_.builder.AddTrack();
        rig_.SetUpSequence();
        rig_.Playback().AddMeterObserver(&observer_);
        rig_.Playback().PlayFromSample(
            0, FORWARD, 1, [this](void*) { ++completions_; }, nullptr);
        EXPECT_TRUE(rig_.device.WaitForQueued(49));
    }

    /// Runs a callback of the engine and counts its allocations, locks, waits and file calls.
    template <class Callback>
    void Count(Callback callback) {
        RealTimeProbe::Clear();
        const RealTimeProbe probe;
        callback(rig_.Impl().voiceCallback);
    }
    static void ExpectNothing() {
        EXPECT_EQ(RealTimeProbe::allocations, 0);
        EXPECT_EQ(RealTimeProbe::locks, 0);
        EXPECT_EQ(RealTimeProbe::waits, 0);
        EXPECT_EQ(RealTimeProbe::fileCalls, 0);
    }
    void* Buffer(int index) {
        return rig_.Impl().voices.Buffers()[static_cast<std::size_t>(index)].get();
    }

    struct QuietObserver : sonrel::AbstractAudioMeterObserver {
        void OnMeterSessionStart(int) override {}
        void OnMeterSessionStop() override { ++stops; }
        void OnMeterUpdate(const sonrel::AudioMetrics&) override {}
        int stops = 0;
    };

    QuietObserver observer_;
    int completions_ = 0;
    PlaybackRig rig_;
};

TEST_F(PlaybackRealTime, TheProbesSeeEveryKindOfAllocation) {
    Count([](auto&) { ::operator delete(::operator new(4)); });
    EXPECT_EQ(RealTimeProbe::allocations, 2);

    if (!RealTimeProbe::COUNTS_EVERYTHING) GTEST_SKIP() << "a sanitizer counts for itself";
    void* volatile memory = nullptr;
    Count([&](auto&) {
        memory = std::malloc(4);
        memory = std::realloc(memory, 4000);
        std::free(memory);
    });
    EXPECT_EQ(RealTimeProbe::allocations, 3);
    Count([&](auto&) {
        memory = std::calloc(1, 4);
        std::free(memory);
        memory = std::aligned_alloc(64, 64);
        std::free(memory);
    });
    EXPECT_EQ(RealTimeProbe::allocations, 4);
}

TEST_F(PlaybackRealTime, TheProbesSeeEveryKindOfLockAndWait) {
    if (!RealTimeProbe::COUNTS_EVERYTHING) GTEST_SKIP() << "a sanitizer counts for itself";
    std::mutex mutex;
    std::shared_mutex shared;
    std::condition_variable changed;
    constexpr std::chrono::nanoseconds NO_TIME{0};

    Count([&](auto&) { const std::lock_guard guard(mutex); });
    EXPECT_EQ(RealTimeProbe::locks, 1);
    Count([&](auto&) { const std::shared_lock guard(shared); });
    EXPECT_EQ(RealTimeProbe::locks, 1);
    Count([&](auto&) { const std::unique_lock guard(shared); });
    EXPECT_EQ(RealTimeProbe::locks, 1);
    Count([&](auto&) {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, NO_TIME);
        changed.wait_until(lock, std::chrono::system_clock::now());
    });
    EXPECT_EQ(RealTimeProbe::waits, 2);
    bool woken = false;
    std::unique_lock lock(mutex);
    std::thread waker([&] {
        const std::lock_guard guard(mutex);
        woken = true;
        changed.notify_one();
    });
    Count([&](auto&) { changed.wait(lock, [&] { return woken; }); });
    waker.join();
    EXPECT_GE(RealTimeProbe::waits, 1);
}

TEST_F(PlaybackRealTime, TheProbesSeeWaitsForSemaphoresThreadsAtomicsAndTimes) {
    if (!RealTimeProbe::COUNTS_EVERYTHING) GTEST_SKIP() << "a sanitizer counts for itself";
    Count([](auto&) { std::this_thread::sleep_for(std::chrono::nanoseconds(1)); });
    EXPECT_EQ(RealTimeProbe::waits, 1);

    sem_t semaphore;
    sem_init(&semaphore, 0, 1);
    Count([&](auto&) { sem_wait(&semaphore); });
    sem_destroy(&semaphore);
    EXPECT_EQ(RealTimeProbe::waits, 1);

    std::thread ending([] {});
    Count([&](auto&) { ending.join(); });
    EXPECT_EQ(RealTimeProbe::waits, 1);

    std::atomic<int> changing = 0;
    std::thread changer([&] {
        while (RealTimeProbe::waits == 0) std::this_thread::yield();
        changing = 1;
        changing.notify_one();
    });
    Count([&](auto&) { changing.wait(0); });
    changer.join();
    EXPECT_GE(RealTimeProbe::waits, 1);
}

TEST_F(PlaybackRealTime, TheProbesSeeCallsOnFiles) {
    if (!RealTimeProbe::COUNTS_EVERYTHING) GTEST_SKIP() << "a sanitizer counts for itself";
    char byte = 0;

    Count([&](auto&) {
        const int file = open("/dev/zero", O_RDONLY);
        EXPECT_EQ(read(file, &byte, 1), 1);
        close(file);
    });
    EXPECT_EQ(RealTimeProbe::fileCalls, 3);

    Count([&](auto&) {
        std::FILE* const file = std::fopen("/dev/zero", "r");
        EXPECT_EQ(std::fread(&byte, 1, 1, file), 1u);
        std::fclose(file);
    });
    EXPECT_EQ(RealTimeProbe::fileCalls, 2);

    Count([](auto&) {
        void* const memory = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        munmap(memory, 4096);
    });
    EXPECT_EQ(RealTimeProbe::fileCalls, 2);
}

TEST_F(PlaybackRealTime, TheStartOfABufferAllocatesNothingTakesNoLockAndDoesNotWait) {
    Count([&](auto& callback) { callback.OnBufferStart(Buffer(3)); });

    ExpectNothing();
    EXPECT_EQ(rig_.Playback().CurrentPlaybackVideoFrame(), 3);
}

TEST_F(PlaybackRealTime, TheEndOfABufferAllocatesNothingTakesNoLockAndDoesNotWait) {
    Count([&](auto& callback) { callback.OnBufferEnd(Buffer(3)); });

    ExpectNothing();
}

TEST_F(PlaybackRealTime, TheEndOfARunTakesOnlyTheLocksOfTheMeters) {
    Count([&](auto& callback) { callback.OnBufferStart(Buffer(0)); });

    Count([&](auto& callback) { callback.OnStreamEnd(); });

    // One for the session and one for each meter: the track's and the master's. The last block
    // joins the runs before it.
    EXPECT_LE(RealTimeProbe::locks, 3);
    EXPECT_EQ(RealTimeProbe::waits, 0);
    EXPECT_LE(RealTimeProbe::allocations, 4);
    EXPECT_EQ(observer_.stops, 2) << "one by the play command";
    EXPECT_EQ(completions_, 1);
}

}  // namespace
}  // namespace sonrel_tests
