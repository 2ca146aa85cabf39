// SPDX-License-Identifier: MIT
// The worker and its ring: the buffers that it submits, and its reaction to failures.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "tests/playback/ExpectedRun.h"
#include "tests/playback/PlaybackRig.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {
namespace {

/// Left values of a submission, which are the positions of its samples.
std::vector<int> Lefts(const Submission& submission, int count) {
    std::vector<int> lefts;
    for (int n = 0; n < count; ++n) lefts.push_back(submission.samples[2 * n]);
    return lefts;
}

/// A sequence of 200 frames at 29.97 frames a second that counts its samples. A buffer holds 1602.
class PlaybackWorker : public testing::Test {
protected:
    explicit PlaybackWorker(const Format& format = {29.97, 48000, 200}) : rig_(format) {
        object_ = rig_.builder.AddObject(rig_.builder.AddMedia(Counting(322000)), 0, 201);
        EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
    }

    std::vector<Submission> PlayToEnd(long long sample, Direction direction = FORWARD,
                                      int speed = 1) {
        const std::size_t before = rig_.device.Submissions().size();
        EXPECT_EQ(rig_.Play(sample, direction, speed), Err::NoError);
        EXPECT_TRUE(rig_.PlayToEnd());
        auto all = rig_.device.Submissions();
        return {all.begin() + static_cast<std::ptrdiff_t>(before), all.end()};
    }

    PlaybackRig rig_;
    std::shared_ptr<project::AssetAudioObject> object_;
    static constexpr long long TOTAL = 320320;
};

TEST_F(PlaybackWorker, ARunFromTheLastSampleIsOneBufferThatEndsTheStream) {
    bool completed = false;
    rig_.Playback().PlayFromSample(
        TOTAL - 1, FORWARD, 1, [&](void*) { completed = true; }, nullptr);
    ASSERT_TRUE(rig_.PlayToEnd());

    const auto submissions = rig_.device.Submissions();
    ASSERT_EQ(submissions.size(), 1u);
    EXPECT_TRUE(submissions[0].endOfStream);
    EXPECT_EQ(submissions[0].FrameCount(), 1602);
    EXPECT_EQ(submissions[0].firstSample, TOTAL - 1);
    EXPECT_EQ(submissions[0].endSample, TOTAL);
    EXPECT_EQ(submissions[0].samples[0], (TOTAL - 1) & 0x7FFF);
    EXPECT_EQ(submissions[0].samples[2], 0) << "the rest is silence";
    EXPECT_TRUE(completed);
}

TEST_F(PlaybackWorker, AReverseRunFromSample1000PlaysTheSamplesBeforeItReversed) {
    const auto submissions = PlayToEnd(1000, REVERSE);

    ASSERT_EQ(submissions.size(), 1u);
    EXPECT_TRUE(submissions[0].endOfStream);
    EXPECT_EQ(submissions[0].videoFrame, 0);
    EXPECT_EQ(submissions[0].firstSample, 1000);
    EXPECT_EQ(submissions[0].endSample, 2000);
    EXPECT_EQ(submissions[0].samples[0], 999);
    EXPECT_EQ(submissions[0].samples[1], 999 - 30000) << "left stays left";
    EXPECT_EQ(submissions[0].samples[2 * 999], 0);
    EXPECT_EQ(submissions[0].samples[2 * 999 + 1], -30000);
    EXPECT_EQ(submissions[0].samples[2 * 1000 + 1], 0) << "the rest is silence";
}

TEST_F(PlaybackWorker, SpeedThreeReads4806SamplesForABufferOf1602) {
    rig_.Play(10000, FORWARD, 3);
    ASSERT_TRUE(rig_.device.WaitForSubmissions(2));

    const auto submissions = rig_.device.Submissions();
    EXPECT_EQ(submissions[0].firstSample, 10000);
    EXPECT_EQ(submissions[0].endSample, 11602);
    EXPECT_EQ(submissions[1].firstSample, 14806);
    EXPECT_EQ(Lefts(submissions[0], 4), (std::vector{10000, 10003, 10006, 10009}));
    EXPECT_EQ(submissions[0].samples[2 * 1601], 10000 + 3 * 1601);
}

TEST_F(PlaybackWorker, SpeedTwoWithFiveSamplesLeftTakesTwoOfThem) {
    const auto submissions = PlayToEnd(TOTAL - 5, FORWARD, 2);

    ASSERT_EQ(submissions.size(), 1u);
    const int first = (TOTAL - 5) & 0x7FFF;
    EXPECT_EQ(Lefts(submissions[0], 4), (std::vector{first, first + 2, 0, 0}));
    EXPECT_EQ(submissions[0].endSample, TOTAL - 3);
}

TEST_F(PlaybackWorker, SpeedTwoWithOneSampleLeftWritesNothingAndReachesTheEnd) {
    const auto submissions = PlayToEnd(TOTAL - 1, FORWARD, 2);

    ASSERT_EQ(submissions.size(), 1u);
    EXPECT_TRUE(submissions[0].endOfStream);
    EXPECT_EQ(submissions[0].endSample, TOTAL - 1);
    EXPECT_EQ(submissions[0].samples, std::vector<short>(2 * 1602));
}

TEST_F(PlaybackWorker, AtMostFortyNineBuffersAreQueued) {
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));
    for (int played = 1; played <= 3; ++played) {
        rig_.device.BeginBuffer();
        EXPECT_EQ(rig_.device.Queued(), 49u);
        rig_.device.EndBuffer();
        ASSERT_TRUE(rig_.device.WaitForQueued(49));
        EXPECT_EQ(rig_.device.Submissions().size(), 49u + static_cast<unsigned>(played));
    }
}

TEST_F(PlaybackWorker, ABufferIsWrittenOnlyWhileItIsNotQueued) {
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));

    const auto submissions = rig_.device.Submissions();
    for (std::size_t i = 0; i < submissions.size(); ++i) {
        const auto* buffer =
            static_cast<const sonrel::detail::FrameAudioBuffer*>(submissions[i].context);
        EXPECT_TRUE(buffer->samples == submissions[i].samples) << "buffer " << i;
    }
}

TEST_F(PlaybackWorker, TheTailOfALongRunIsTheBufferContentOfFiftyBuffersAgo) {
    const auto submissions = PlayToEnd(0);

    // 199 buffers of 1602 and one of 1522 samples: the last one, number 199, comes after 149.
    ASSERT_EQ(submissions.size(), 200u);
    EXPECT_EQ(submissions[199].endSample, TOTAL);
    EXPECT_EQ(submissions[199].samples[2 * 1522], (149 * 1602 + 1522) & 0x7FFF);
    EXPECT_EQ(submissions[199].samples[2 * 1601], (149 * 1602 + 1601) & 0x7FFF);
}

TEST_F(PlaybackWorker, TheTailOfARunShorterThanTheRingIsSilenceAfterALongRunToo) {
    PlayToEnd(0);

    const auto submissions = PlayToEnd(TOTAL - 1602 - 10);

    ASSERT_EQ(submissions.size(), 2u);
    EXPECT_EQ(submissions[1].samples[2 * 10], 0);
    EXPECT_EQ(submissions[1].samples[2 * 1601], 0);
}

TEST_F(PlaybackWorker, EachRunBeginsWithTheFirstBufferOfTheRing) {
    const auto first = PlayToEnd(TOTAL - 4 * 1602);
    const auto second = PlayToEnd(0);

    EXPECT_EQ(first[0].context, rig_.Impl().voices.Buffers()[0].get());
    EXPECT_EQ(second[0].context, rig_.Impl().voices.Buffers()[0].get());
    EXPECT_EQ(second[50].context, rig_.Impl().voices.Buffers()[0].get());
}

TEST_F(PlaybackWorker, ABufferCanBeStampedWithTheFrameBefore) {
    PlaybackRig rig({25.0, 48000, 60});
    rig.SetUpSequence();
    rig.Playback().PlayFromFrame(29, FORWARD, 1, nullptr, nullptr);
    ASSERT_TRUE(rig.device.WaitForSubmissions(2));

    // 55680 / 48000 * 25 is a hair below 29.
    EXPECT_EQ(rig.device.Submissions()[0].firstSample, 55680);
    EXPECT_EQ(rig.device.Submissions()[0].videoFrame, 28);
    EXPECT_EQ(rig.device.Submissions()[1].videoFrame, 30);
}

TEST_F(PlaybackWorker, ARefusedBufferIsSkipped) {
    rig_.device.refuseSubmission = true;

    rig_.Play(TOTAL - 3 * 1602);
    ASSERT_TRUE(rig_.device.WaitForSubmissions(3));
    ASSERT_TRUE(rig_.PlayToEnd());

    const auto submissions = rig_.device.Submissions();
    ASSERT_EQ(submissions.size(), 3u);
    EXPECT_NE(submissions[0].context, submissions[1].context);
}

TEST_F(PlaybackWorker, AForwardRunOfADeletedTargetRepeatsTheRingUntilStop) {
    auto gone = std::make_shared<project::EditorSequence>(*rig_.builder.Sequence());
    rig_.Playback().Initialize(rig_.builder.Project(), gone);
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));
    gone.reset();
    for (int i = 0; i < 150; ++i) {
        ASSERT_TRUE(rig_.device.WaitForQueued(49));
        rig_.device.PlayBuffer();
    }

    EXPECT_TRUE(rig_.Playback().IsPlaying());
    const auto submissions = rig_.device.Submissions();
    const Submission& repeated = submissions[120];
    EXPECT_EQ(repeated.firstSample, repeated.endSample);
    EXPECT_EQ(repeated.firstSample, submissions[110].firstSample) << "the position stays";
    EXPECT_TRUE(repeated.samples == submissions[70].samples);
    EXPECT_FALSE(repeated.endOfStream);
    EXPECT_EQ(rig_.Playback().Stop(), Err::NoError);
}

TEST_F(PlaybackWorker, AReverseRunOfADeletedTargetReachesItsEnd) {
    auto gone = std::make_shared<project::EditorSequence>(*rig_.builder.Sequence());
    bool completed = false;
    rig_.Playback().Initialize(rig_.builder.Project(), gone);
    gone.reset();

    rig_.Playback().PlayFromSample(
        4000, REVERSE, 1, [&](void*) { completed = true; }, nullptr);
    ASSERT_TRUE(rig_.PlayToEnd());

    const auto submissions = rig_.device.Submissions();
    ASSERT_EQ(submissions.size(), 3u);
    EXPECT_EQ(submissions[0].firstSample, 4000);
    EXPECT_EQ(submissions[0].endSample, 4000);
    EXPECT_EQ(submissions[2].firstSample, 796);
    EXPECT_TRUE(submissions[2].endOfStream);
    EXPECT_TRUE(completed);
}

TEST_F(PlaybackWorker, AResetDuringARunLeavesTheRunWithoutSound) {
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));

    rig_.engine->ResetPlaybackEngine();
    rig_.device.PlayBuffer();
    rig_.device.PlayBuffer();
    ASSERT_TRUE(rig_.device.WaitForSubmissions(51));

    EXPECT_FALSE(rig_.Playback().IsPlaying());
    EXPECT_EQ(rig_.device.Submissions()[50].firstSample, rig_.device.Submissions()[50].endSample);
    EXPECT_EQ(rig_.Playback().Stop(), Err::NoError);
}

TEST_F(PlaybackWorker, AMixThatFailsLeavesTheBufferAndThePositionUnchanged) {
    // A video frame of no sample at all cannot be mixed: the request fails.
    rig_.builder.Sequence()->Settings().SetFrameRate(50000.0);

    rig_.Play(100);
    ASSERT_TRUE(rig_.device.WaitForSubmissions(3));

    for (const Submission& submission : rig_.device.Submissions()) {
        EXPECT_EQ(submission.firstSample, 100);
        EXPECT_EQ(submission.endSample, 100);
    }
    rig_.Playback().Stop();
}

TEST_F(PlaybackWorker, ADryQueueSkipsNothing) {
    auto slow = std::make_shared<SpyEffect>();
    std::atomic<int> allowed = 3;
    slow->onProcess = [&](const ProcessCall&, short*) {
        while (allowed <= 0) std::this_thread::yield();
        --allowed;
    };
    object_->AddEffect(slow);
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForSubmissions(1));
    while (rig_.device.PlayBuffer()) {
    }
    const int frame = rig_.Playback().CurrentPlaybackVideoFrame();
    EXPECT_FALSE(rig_.device.BeginBuffer()) << "the queue is dry";
    EXPECT_TRUE(rig_.Playback().IsPlaying());
    EXPECT_EQ(rig_.Playback().CurrentPlaybackVideoFrame(), frame);

    allowed = 1000;
    ASSERT_TRUE(
        Eventually([&] { return rig_.device.PlayBuffer() && rig_.device.HeardCount() > 5; }));

    const auto heard = rig_.device.Heard();
    for (std::size_t i = 1; i < heard.size(); ++i) {
        EXPECT_EQ(heard[i].firstSample, heard[i - 1].endSample);
    }
    rig_.Playback().Stop();
}

TEST_F(PlaybackWorker, StopEndsTheWaitOnADeviceThatHasStoppedCallingBack) {
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));
    rig_.device.holdDropped = true;

    EXPECT_EQ(rig_.Playback().Stop(), Err::NoError);

    EXPECT_FALSE(rig_.Impl().worker.Exists());
    rig_.device.ReportDropped();
}

TEST_F(PlaybackWorker, StopEndsADrainOnADeviceThatHasStoppedCallingBack) {
    rig_.Play(TOTAL - 1);
    ASSERT_TRUE(rig_.device.WaitForQueued(1));
    rig_.device.holdDropped = true;

    EXPECT_EQ(rig_.Playback().Stop(), Err::NoError);

    EXPECT_FALSE(rig_.Impl().worker.Exists());
    rig_.device.ReportDropped();
}

TEST_F(PlaybackWorker, MediaThatCannotBeReadPlaysAsSilence) {
    const auto asset = rig_.builder.AddMedia({});
    asset->SetVideoStream(std::make_unique<project::MediaVideoStream>(25.0, 3));
    rig_.Playback().Initialize(rig_.builder.Project(), asset);

    const auto submissions = PlayToEnd(0);

    ASSERT_EQ(submissions.size(), 3u);
    for (const Submission& submission : submissions) {
        EXPECT_EQ(submission.samples, std::vector<short>(2 * 1920));
        EXPECT_EQ(submission.endSample, submission.firstSample + 1920);
    }
    EXPECT_TRUE(submissions[2].endOfStream);
}

TEST_F(PlaybackWorker, AMediaAssetPlaysItsOwnSamples) {
    const auto asset = rig_.builder.AddMedia(Counting(4000));
    rig_.Playback().Initialize(rig_.builder.Project(), asset);

    const auto submissions = PlayToEnd(10);

    ASSERT_EQ(submissions.size(), 3u);
    EXPECT_EQ(Lefts(submissions[0], 2), (std::vector{10, 11}));
    EXPECT_EQ(submissions[2].endSample, 4000);
}

TEST_F(PlaybackWorker, AMediaAssetThatIsDeletedRepeatsTheRing) {
    auto asset = std::make_shared<project::MediaAsset>(*rig_.builder.AddMedia(Counting(322000)));
    rig_.Playback().Initialize(rig_.builder.Project(), asset);
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));
    asset.reset();
    for (int i = 0; i < 3; ++i) rig_.device.PlayBuffer();
    ASSERT_TRUE(rig_.device.WaitForSubmissions(52));

    const auto submissions = rig_.device.Submissions();
    EXPECT_EQ(submissions[51].firstSample, submissions[51].endSample);
    rig_.Playback().Stop();
}

TEST_F(PlaybackWorker, ACompositionPlaysItsLayers) {
    const auto composition = rig_.builder.AddComposition({25.0, 48000, 3});
    rig_.builder.AddLayer(composition, rig_.builder.AddMedia(Counting(9600)), 0, 3);
    rig_.Playback().Initialize(rig_.builder.Project(), composition);

    const auto submissions = PlayToEnd(1920, FORWARD);

    ASSERT_EQ(submissions.size(), 2u);
    EXPECT_EQ(Lefts(submissions[0], 2), (std::vector{1920, 1921}));
}

TEST_F(PlaybackWorker, TheWorkerPreparesItsThreadForTheDeviceAndUndoesIt) {
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(1));
    EXPECT_EQ(rig_.device.ThreadsInUse(), 2);

    rig_.Playback().Stop();

    EXPECT_EQ(rig_.device.ThreadsInUse(), 1);
}

using PlaybackWorkerDeathTest = PlaybackWorker;

TEST_F(PlaybackWorkerDeathTest, ADeviceThatRefusesTheThreadEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            rig_.device.refuseThread = true;
            rig_.Play(0);
            std::this_thread::sleep_for(std::chrono::seconds(20));
        },
        "COM not initialized");
}

TEST_F(PlaybackWorkerDeathTest, AnExceptionOfTheMixEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto broken = std::make_shared<SpyEffect>();
    broken->onProcess = [](const ProcessCall&, short*) {
        throw std::runtime_error("broken plugin");
    };
    object_->AddEffect(broken);
    EXPECT_DEATH(
        {
            rig_.Play(0);
            std::this_thread::sleep_for(std::chrono::seconds(20));
        },
        "broken plugin");
}

}  // namespace
}  // namespace sonrel_tests
