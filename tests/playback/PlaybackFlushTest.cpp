// SPDX-License-Identifier: MIT
// A flush: the buffers that it drops, the position where the run continues, and its failures.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include "tests/playback/PlaybackRig.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {
namespace {

/// The interval of the steps of a test while a flush waits.
constexpr std::chrono::milliseconds STEP{20};
/// For a flush that is answered, however busy the machine is.
constexpr std::chrono::milliseconds NO_TIMEOUT = std::chrono::hours(1);

/// A sequence of 250 frames of 1920 samples, whose mix can be held back.
class PlaybackFlush : public testing::Test {
protected:
    PlaybackFlush() {
        const auto gate = std::make_shared<SpyEffect>();
        gate->onProcess = [this](const ProcessCall&, short*) {
            while (mixes_ <= 0) std::this_thread::yield();
            --mixes_;
        };
        rig_.builder.AddObject(rig_.builder.AddMedia(Constant(480000, 1, 1)), 0, 250)
            ->AddEffect(gate);
        rig_.device.onState = [this] {
            if (flushing_.load() == std::this_thread::get_id()) hasCounted_ = true;
        };
        EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
    }
    ~PlaybackFlush() override { mixes_ = 1000000; }

    sonrel::PlaybackEngine& Playback() { return rig_.Playback(); }

    /// Starts a run and waits until 49 buffers are queued and the worker has the next in hand.
    void FillRing() {
        ASSERT_EQ(rig_.Play(0), Err::NoError);
        ASSERT_TRUE(Eventually(
            [&] { return rig_.Impl().voices.Buffers()[49]->run == rig_.Impl().runNumber; }));
        ASSERT_TRUE(rig_.device.WaitForQueued(49));
    }
    /// Starts a run that has ten buffers queued while the worker is in the mix of the next, and
    /// plays the first two.
    void HearTwoOfTenBuffers(Direction direction = FORWARD, int speed = 1) {
        mixesOfABuffer_ = speed;
        mixes_ = 10 * speed;
        ASSERT_EQ(rig_.Play(direction == FORWARD ? 0 : 479999, direction, speed), Err::NoError);
        ASSERT_TRUE(rig_.device.WaitForQueued(10));
        ASSERT_TRUE(rig_.device.PlayBuffer());
        ASSERT_TRUE(rig_.device.PlayBuffer());
    }
    /// Lets the worker mix and plays the next buffer.
    void HearNextBuffer() {
        mixes_ = 1000000;
        ASSERT_TRUE(rig_.device.WaitForQueued(1));
        ASSERT_TRUE(rig_.device.PlayBuffer());
    }

    /// Flushes; from the moment when the flush has counted the queue, steps until it returns.
    template <class Step>
    Err FlushWhile(Step step) {
        rig_.Impl().flushTimeout = NO_TIMEOUT;
        hasCounted_ = false;
        auto flush = std::async(std::launch::async, [&] {
            flushing_ = std::this_thread::get_id();
            return Playback().FlushQueuedPlaybackSamples();
        });
        EXPECT_TRUE(Eventually([&] { return hasCounted_.load(); }));
        do step();
        while (flush.wait_for(STEP) != std::future_status::ready);
        return flush.get();
    }
    /// The buffers heard do not change meanwhile: the worker parks between two mixes.
    Err FlushWhileMixing() {
        return FlushWhile([&] { mixes_ += mixesOfABuffer_; });
    }
    Err FlushWhilePlaying() {
        return FlushWhile([&] { rig_.device.PlayBuffer(); });
    }

    std::atomic<int> mixes_ = 1000000;
    int mixesOfABuffer_ = 1;  // one for each video frame
    std::atomic<std::thread::id> flushing_ = std::thread::id();
    std::atomic<bool> hasCounted_ = false;
    PlaybackRig rig_;
};

TEST_F(PlaybackFlush, WithoutARunIsNotPlaying) {
    EXPECT_EQ(Playback().FlushQueuedPlaybackSamples(), Err::NotPlaying);
}

TEST_F(PlaybackFlush, WithOneBufferQueuedOrNoneTouchesNothing) {
    rig_.Play(479999);
    ASSERT_TRUE(rig_.device.WaitForQueued(1));
    EXPECT_EQ(Playback().FlushQueuedPlaybackSamples(), Err::NoError);
    EXPECT_EQ(rig_.device.Queued(), 1u);

    Playback().Stop();
    mixes_ = 0;
    rig_.Play(0);
    EXPECT_EQ(Playback().FlushQueuedPlaybackSamples(), Err::NoError);
    EXPECT_TRUE(rig_.device.FlushMarks().empty());
    mixes_ = 1000000;
}

TEST_F(PlaybackFlush, DropsTheQueueAndContinuesAfterTheLastBufferThatBegan) {
    HearTwoOfTenBuffers();

    EXPECT_EQ(FlushWhileMixing(), Err::NoError);

    HearNextBuffer();
    const auto heard = rig_.device.Heard();
    ASSERT_EQ(heard.size(), 3u);
    EXPECT_EQ(heard[2].firstSample, 2 * 1920);
    EXPECT_GT(rig_.device.Submissions().size(), 10u) << "mixed again";
}

TEST_F(PlaybackFlush, AWorkerBlockedOnAFullQueueParksWhenABufferEnds) {
    FillRing();

    EXPECT_EQ(FlushWhilePlaying(), Err::NoError);

    EXPECT_EQ(rig_.device.FlushMarks().size(), 1u);
}

TEST_F(PlaybackFlush, SparesTheSoundingBuffer) {
    HearTwoOfTenBuffers();
    rig_.device.BeginBuffer();

    EXPECT_EQ(FlushWhileMixing(), Err::NoError);

    rig_.device.EndBuffer();
    HearNextBuffer();
    const auto heard = rig_.device.Heard();
    ASSERT_EQ(heard.size(), 4u);
    EXPECT_EQ(heard[2].firstSample, 2 * 1920);
    EXPECT_EQ(heard[3].firstSample, 3 * 1920);
}

TEST_F(PlaybackFlush, KeepsTheOrderOfTheRing) {
    FillRing();

    ASSERT_EQ(FlushWhilePlaying(), Err::NoError);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));

    const auto submissions = rig_.device.Submissions();
    for (std::size_t i = 0; i < submissions.size(); ++i) {
        ASSERT_EQ(submissions[i].context, rig_.Impl().voices.Buffers()[i % 50].get()) << i;
    }
}

TEST_F(PlaybackFlush, InReverseContinuesFromTheEndStampOfTheBuffer) {
    HearTwoOfTenBuffers(REVERSE);

    ASSERT_EQ(FlushWhileMixing(), Err::NoError);

    HearNextBuffer();
    const auto heard = rig_.device.Heard();
    ASSERT_EQ(heard.size(), 3u);
    EXPECT_EQ(heard[1].firstSample, 479999 - 1920);
    EXPECT_EQ(heard[2].firstSample, 479999) << "stamped with its first sample plus 1920";
}

TEST_F(PlaybackFlush, AtSpeedThreeContinuesOneBufferLengthAfterTheStartOfTheBufferHeard) {
    HearTwoOfTenBuffers(FORWARD, 3);

    ASSERT_EQ(FlushWhileMixing(), Err::NoError);

    HearNextBuffer();
    const auto heard = rig_.device.Heard();
    ASSERT_EQ(heard.size(), 3u);
    EXPECT_EQ(heard[1].firstSample, 3 * 1920);
    EXPECT_EQ(heard[2].firstSample, 3 * 1920 + 1920);
}

TEST_F(PlaybackFlush, BeforeTheFirstBufferContinuesFromTheBeginningOfTheTarget) {
    mixes_ = 5;
    rig_.Play(96000);
    ASSERT_TRUE(rig_.device.WaitForQueued(5));

    EXPECT_EQ(FlushWhileMixing(), Err::NoError);

    HearNextBuffer();
    EXPECT_EQ(rig_.device.Heard()[0].firstSample, 0);
}

TEST_F(PlaybackFlush, BeforeTheFirstBufferOfALaterRunContinuesFromTheBeginningToo) {
    HearTwoOfTenBuffers();
    mixes_ = 1000000;
    Playback().Stop();
    mixes_ = 5;
    rig_.Play(96000);
    ASSERT_TRUE(rig_.device.WaitForQueued(5));

    EXPECT_EQ(FlushWhileMixing(), Err::NoError);

    HearNextBuffer();
    EXPECT_EQ(rig_.device.Heard()[2].firstSample, 0)
        << "the position of the former run is forgotten";
}

TEST_F(PlaybackFlush, MakesAnEditHeardAfterTheSoundingBuffer) {
    FillRing();
    const auto track = rig_.builder.Sequence()->AudioTracks()[0];
    {
        const std::lock_guard guard(rig_.engine->Mixer()->Mutex());
        track->SetMuted(true);
    }

    ASSERT_EQ(FlushWhilePlaying(), Err::NoError);

    HearNextBuffer();
    const auto marks = rig_.device.FlushMarks();
    ASSERT_EQ(marks.size(), 1u);
    const auto heard = rig_.device.Heard();
    ASSERT_GT(marks[0], 0u);
    EXPECT_EQ(heard[marks[0] - 1].samples[0], 1);
    EXPECT_EQ(heard[marks[0]].samples[0], 0);
}

TEST_F(PlaybackFlush, FailsWhenTheVoiceRefusesAndTheRunContinues) {
    FillRing();
    rig_.device.refuseFlush = true;

    EXPECT_EQ(FlushWhilePlaying(), Err::FlushFailed);

    rig_.device.refuseFlush = false;
    EXPECT_TRUE(Playback().IsPlaying());
    const std::size_t submitted = rig_.device.Submissions().size();
    rig_.device.PlayBuffer();
    EXPECT_TRUE(rig_.device.WaitForSubmissions(submitted + 1));
}

TEST_F(PlaybackFlush, FailsAfterTheEndWasReached) {
    rig_.Play(480000 - 3 * 1920);
    ASSERT_TRUE(rig_.device.WaitForQueued(3));
    const auto begin = std::chrono::steady_clock::now();

    EXPECT_EQ(Playback().FlushQueuedPlaybackSamples(), Err::FlushFailed);

    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(510));
    EXPECT_EQ(rig_.device.Queued(), 3u);
    EXPECT_TRUE(rig_.PlayToEnd());
}

TEST_F(PlaybackFlush, EndsAsNotPlayingWhenTheDrainEndsFirst) {
    rig_.Play(480000 - 3 * 1920);
    ASSERT_TRUE(rig_.device.WaitForQueued(3));

    EXPECT_EQ(FlushWhilePlaying(), Err::NotPlaying);
}

TEST_F(PlaybackFlush, ThatWasGivenUpCostsTheBufferInHand) {
    FillRing();

    EXPECT_EQ(Playback().FlushQueuedPlaybackSamples(), Err::FlushFailed);

    rig_.device.PlayBuffer();
    ASSERT_TRUE(rig_.device.WaitForSubmissions(50));
    EXPECT_EQ(rig_.device.Submissions()[49].firstSample, 50 * 1920) << "not 49 * 1920";
    EXPECT_EQ(rig_.device.Submissions()[49].context, rig_.Impl().voices.Buffers()[49].get());
    EXPECT_EQ(FlushWhilePlaying(), Err::NoError) << "the next flush works";
}

TEST_F(PlaybackFlush, ThatWasGivenUpIsForgottenByTheNextRun) {
    FillRing();
    EXPECT_EQ(Playback().FlushQueuedPlaybackSamples(), Err::FlushFailed);

    // While it was stopped, the first run may have queued again.
    FillRing();
    const std::size_t submitted = rig_.device.Submissions().size();
    rig_.device.PlayBuffer();

    ASSERT_TRUE(rig_.device.WaitForSubmissions(submitted + 1));
    EXPECT_EQ(rig_.device.Submissions()[submitted].firstSample, 49 * 1920);
}

}  // namespace
}  // namespace sonrel_tests
