// SPDX-License-Identifier: MIT
// What the engine does on the device's thread: no allocation, and no lock but those of the meters
// at the end of a run.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdlib>
#include <mutex>
#include <new>

#include "tests/playback/PlaybackRig.h"

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define SONREL_COUNTS_LOCKS 0
#else
#define SONREL_COUNTS_LOCKS 1
#include <dlfcn.h>
#endif

namespace {

thread_local bool insideCallback = false;
thread_local int allocations = 0;
thread_local int locks = 0;

}  // namespace

void* operator new(std::size_t size) {
    if (insideCallback) ++allocations;
    if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    if (insideCallback && memory != nullptr) ++allocations;
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

#if SONREL_COUNTS_LOCKS
// In front of the C library's: every lock of the standard library comes through here.
extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) {
    static const auto next =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    if (insideCallback) ++locks;
    return next(mutex);
}
#endif

namespace sonrel_tests {
namespace {

/// This thread in the place of the device's, while the worker of a run waits for room.
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

    /// Runs a callback of the engine and counts what it takes.
    template <class Callback>
    void Count(Callback callback) {
        allocations = locks = 0;
        insideCallback = true;
        callback(rig_.Impl().voiceCallback);
        insideCallback = false;
    }
    void* Buffer(int index) {
        return rig_.Impl().frameBuffers[static_cast<std::size_t>(index)].get();
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

TEST_F(PlaybackRealTime, TheProbesSeeAnAllocationAndALock) {
    std::mutex mutex;

    Count([&](auto&) {
        ::operator delete(::operator new(4));
        const std::lock_guard guard(mutex);
    });

    EXPECT_EQ(allocations, 2);
    EXPECT_EQ(locks, SONREL_COUNTS_LOCKS);
}

TEST_F(PlaybackRealTime, TheStartOfABufferAllocatesNothingAndTakesNoLock) {
    Count([&](auto& callback) { callback.OnBufferStart(Buffer(3)); });

    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(locks, 0);
    EXPECT_EQ(rig_.Playback().CurrentPlaybackVideoFrame(), 3);
}

TEST_F(PlaybackRealTime, TheEndOfABufferAllocatesNothingAndTakesNoLock) {
    Count([&](auto& callback) { callback.OnBufferEnd(Buffer(3)); });

    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(locks, 0);
}

TEST_F(PlaybackRealTime, TheEndOfARunTakesNoLockButThoseOfTheMeters) {
    Count([&](auto& callback) { callback.OnBufferStart(Buffer(0)); });

    Count([&](auto& callback) { callback.OnStreamEnd(); });

    // One for each meter: the track's and the master's. The last block joins the ones before it.
    EXPECT_LE(locks, 2);
    EXPECT_LE(allocations, 4);
    EXPECT_EQ(observer_.stops, 2) << "one by the play command";
    EXPECT_EQ(completions_, 1);
}

}  // namespace
}  // namespace sonrel_tests
