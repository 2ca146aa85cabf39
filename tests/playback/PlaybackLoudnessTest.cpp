// SPDX-License-Identifier: MIT
// The loudness of the sound that is heard.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <thread>

#include "sonrel/loudness/LoudnessMeter.h"
#include "tests/playback/PlaybackRig.h"

namespace sonrel_tests {
namespace {

constexpr int LOUDNESS_FRAMES = 100;
constexpr int SAMPLES_OF_A_FRAME = 1920;

/// A square wave that grows.
short GrowingSquare(int sample) {
    return static_cast<short>(sample % 48 < 24 ? 2000 + sample / 20 : -2000 - sample / 20);
}

/// A sequence of 25 frames a second at 48000 Hz.
class PlaybackLoudness : public testing::Test {
protected:
    void SetUp() override {
        rig_.builder.Sequence()->Settings().SetFrameCount(LOUDNESS_FRAMES);
        rig_.builder.AddObject(
            rig_.builder.AddMedia(MakeSamples(192000, [](int n, int) { return GrowingSquare(n); })),
            0, LOUDNESS_FRAMES);
        ASSERT_EQ(rig_.SetUpSequence(), Err::NoError);
        rig_.Impl().flushTimeout = std::chrono::hours(1);
        // The worker asks for the state, too: the hook is set before it starts.
        rig_.device.onState = [this] {
            if (flushing_.load() == std::this_thread::get_id()) isWaiting_ = true;
        };
    }
    /// Plays buffers until this one sounds.
    void HearFrame(int frame) {
        ASSERT_TRUE(Eventually([&] {
            if (rig_.Playback().CurrentPlaybackVideoFrame() == frame) return true;
            if (sounding_) rig_.device.EndBuffer();
            sounding_ = rig_.device.BeginBuffer();
            return rig_.Playback().CurrentPlaybackVideoFrame() == frame;
        }));
    }
    /// Flushes while buffers end. @return the number of buffers that had begun to sound, which is
    /// the frame where the run continues
    int Flush() {
        auto flush = std::async(std::launch::async, [&] {
            flushing_ = std::this_thread::get_id();
            return rig_.Playback().FlushQueuedPlaybackSamples();
        });
        EXPECT_TRUE(Eventually([&] { return isWaiting_.load(); }));
        rig_.device.EndBuffer();
        sounding_ = false;
        while (flush.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready) {
            rig_.device.PlayBuffer();
        }
        EXPECT_EQ(flush.get(), Err::NoError);
        return static_cast<int>(rig_.device.FlushMarks().at(0));
    }
    sonrel::PlaybackLoudness Heard() { return rig_.Playback().CurrentPlaybackLoudness(); }
    void ExpectNothing() {
        EXPECT_EQ(Heard().momentaryLufs, std::nullopt);
        EXPECT_EQ(Heard().shortTermLufs, std::nullopt);
    }

    // Used by the rig's worker, which ends first.
    std::atomic<std::thread::id> flushing_;
    std::atomic<bool> isWaiting_ = false;  ///< whether the flushing thread waits for the device
    PlaybackRig rig_;
    SpyObserver observer_;
    bool sounding_ = false;
};

/// A meter that has measured frames of the sequence.
sonrel::LoudnessMeter MeterOfFrames(int frames, int first = 0) {
    sonrel::LoudnessMeter meter(48000);
    for (int i = first * SAMPLES_OF_A_FRAME; i < (first + frames) * SAMPLES_OF_A_FRAME; ++i) {
        const short frame[2] = {GrowingSquare(i), GrowingSquare(i)};
        meter.Add(frame, 1);
    }
    return meter;
}

TEST_F(PlaybackLoudness, IsThatOfTheSoundToTheEndOfTheBufferThatSounds) {
    rig_.Playback().AddMeterObserver(&observer_);
    ASSERT_EQ(rig_.Play(0, FORWARD, 1), Err::NoError);

    ExpectNothing();
    HearFrame(8);
    ExpectNothing();
    HearFrame(9);  // 0.4 seconds
    EXPECT_EQ(Heard().momentaryLufs, MeterOfFrames(10).MomentaryLufs());
    EXPECT_NE(Heard().momentaryLufs, std::nullopt);
    EXPECT_EQ(Heard().shortTermLufs, std::nullopt);
    HearFrame(74);  // 3 seconds
    EXPECT_EQ(Heard().momentaryLufs, MeterOfFrames(75).MomentaryLufs());
    EXPECT_EQ(Heard().shortTermLufs, MeterOfFrames(75).ShortTermLufs());
    EXPECT_NE(Heard().shortTermLufs, std::nullopt);
}

TEST_F(PlaybackLoudness, ANewRunBeginsWithoutLoudness) {
    rig_.Playback().AddMeterObserver(&observer_);
    ASSERT_EQ(rig_.Play(0, FORWARD, 1), Err::NoError);
    HearFrame(12);
    EXPECT_NE(Heard().momentaryLufs, std::nullopt);

    ASSERT_EQ(rig_.Play(0, FORWARD, 1), Err::NoError);

    ExpectNothing();
}

TEST_F(PlaybackLoudness, AFlushBeginsTheMeasurementAnewWithTheNextBuffer) {
    rig_.Playback().AddMeterObserver(&observer_);
    ASSERT_EQ(rig_.Play(0, FORWARD, 1), Err::NoError);
    HearFrame(12);
    EXPECT_EQ(Heard().momentaryLufs, MeterOfFrames(13).MomentaryLufs());

    const int next = Flush();

    HearFrame(next);
    ExpectNothing();
    HearFrame(next + 8);
    ExpectNothing();
    HearFrame(next + 9);  // 0.4 seconds
    EXPECT_EQ(Heard().momentaryLufs, MeterOfFrames(10, next).MomentaryLufs());
    EXPECT_NE(Heard().momentaryLufs, std::nullopt);
}

TEST_F(PlaybackLoudness, WithoutObserversNothingIsMeasured) {
    ASSERT_EQ(rig_.Play(0, FORWARD, 1), Err::NoError);

    HearFrame(12);

    ExpectNothing();
}

}  // namespace
}  // namespace sonrel_tests
