// SPDX-License-Identifier: MIT
// What the engine does on the device's thread: no allocation, and no lock but those of the meters
// at the end of a run.
#include <gtest/gtest.h>

#include <mutex>
#include <new>

#include "tests/playback/PlaybackRig.h"
#include "tests/playback/RealTimeProbe.h"

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
        RealTimeProbe::Clear();
        const RealTimeProbe probe;
        callback(rig_.Impl().voiceCallback);
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

    EXPECT_EQ(RealTimeProbe::allocations, 2);
    EXPECT_EQ(RealTimeProbe::locks, RealTimeProbe::COUNTS_LOCKS ? 1 : 0);
}

TEST_F(PlaybackRealTime, TheStartOfABufferAllocatesNothingAndTakesNoLock) {
    Count([&](auto& callback) { callback.OnBufferStart(Buffer(3)); });

    EXPECT_EQ(RealTimeProbe::allocations, 0);
    EXPECT_EQ(RealTimeProbe::locks, 0);
    EXPECT_EQ(rig_.Playback().CurrentPlaybackVideoFrame(), 3);
}

TEST_F(PlaybackRealTime, TheEndOfABufferAllocatesNothingAndTakesNoLock) {
    Count([&](auto& callback) { callback.OnBufferEnd(Buffer(3)); });

    EXPECT_EQ(RealTimeProbe::allocations, 0);
    EXPECT_EQ(RealTimeProbe::locks, 0);
}

TEST_F(PlaybackRealTime, TheEndOfARunTakesNoLockButThoseOfTheMeters) {
    Count([&](auto& callback) { callback.OnBufferStart(Buffer(0)); });

    Count([&](auto& callback) { callback.OnStreamEnd(); });

    // One for the session and one for each meter: the track's and the master's. The last block
    // joins the ones before it.
    EXPECT_LE(RealTimeProbe::locks, 3);
    EXPECT_LE(RealTimeProbe::allocations, 4);
    EXPECT_EQ(observer_.stops, 2) << "one by the play command";
    EXPECT_EQ(completions_, 1);
}

}  // namespace
}  // namespace sonrel_tests
