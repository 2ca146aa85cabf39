// SPDX-License-Identifier: MIT
// The reports of the device, and commands from inside a callback.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/playback/PlaybackRig.h"
#include "tests/playback/VirtualRig.h"

namespace sonrel_tests {
namespace {

using Calls = std::vector<std::string>;

/// A device that reports late.
class LateReport : public testing::Test {
protected:
    LateReport() { EXPECT_EQ(rig_.SetUpSequence(), Err::NoError); }

    void PlayLastFrame(int& completions) {
        ASSERT_EQ(rig_.Playback().PlayFromFrame(
                      249, FORWARD, 1, [&](void*) { ++completions; }, nullptr),
                  Err::NoError);
        ASSERT_TRUE(rig_.device.WaitForQueued(1));
    }

    PlaybackRig rig_;
};

TEST_F(LateReport, AStreamEndAfterStopCompletesNothing) {
    int completions = 0;
    PlayLastFrame(completions);
    rig_.device.BeginBuffer();
    rig_.Playback().Stop();

    rig_.device.ReportStreamEnd();

    EXPECT_EQ(completions, 0);
}

TEST_F(LateReport, AStreamEndOfAFormerRunDoesNotEndTheCurrentRun) {
    int former = 0;
    int present = 0;
    SpyObserver observer;
    rig_.Playback().AddMeterObserver(&observer);
    PlayLastFrame(former);
    rig_.device.BeginBuffer();
    PlayLastFrame(present);
    observer.calls.clear();

    rig_.device.ReportStreamEnd();

    EXPECT_EQ(former, 0);
    EXPECT_EQ(present, 0);
    EXPECT_EQ(observer.calls, Calls());
    EXPECT_TRUE(rig_.PlayToEnd());
    EXPECT_EQ(present, 1);
}

TEST_F(LateReport, ARepeatedStreamEndCompletesOnce) {
    int completions = 0;
    PlayLastFrame(completions);
    rig_.device.PlayBuffer();

    rig_.device.ReportStreamEnd();

    EXPECT_EQ(completions, 1);
}

TEST_F(LateReport, AStreamEndWithoutARunIsIgnored) {
    rig_.device.ReportStreamEnd();

    EXPECT_FALSE(rig_.Playback().IsPlaying());
}

TEST_F(LateReport, ABufferStartAfterStopMovesNoFrame) {
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(2));
    rig_.device.BeginBuffer();
    rig_.Playback().Stop();

    rig_.Impl().voiceCallback.OnBufferStart(rig_.Impl().voices.Buffers()[1].get());

    EXPECT_EQ(rig_.Playback().CurrentPlaybackVideoFrame(), 0);
    EXPECT_EQ(rig_.Impl().playedSampleEnd, 1920);
}

/// Each run begins at a different sample, and each of its meter blocks has a different level.
TEST(PolledLevels, BelongToOneRunWhileAnotherThreadStartsRuns) {
    PlaybackRig rig({25.0, 48000, 100});
    const auto media = rig.builder.AddMedia(
        MakeSamples(192000, [](int frame, int) { return 1000 + 100 * (frame / 4800); }));
    for (int i = 0; i < 3; ++i) rig.builder.AddObject(media, 0, 100);
    ASSERT_EQ(rig.SetUpSequence(), Err::NoError);
    SpyObserver observer;
    rig.Playback().AddMeterObserver(&observer);
    std::atomic<bool> done = false;
    std::atomic<int> polls = 0;
    std::thread poller([&] {
        while (!done) {
            const sonrel::AudioMetrics metrics = rig.Playback().CurrentPlaybackMetrics();
            ++polls;
            for (const auto& track : metrics.trackMetrics) {
                EXPECT_EQ(track.sampleCount, metrics.masterMetrics.sampleCount);
                EXPECT_FLOAT_EQ(3 * track.peak[0], metrics.masterMetrics.peak[0]);
            }
            std::this_thread::yield();
        }
    });

    for (int run = 0; run < 20 || polls < 200; ++run) {
        ASSERT_EQ(rig.Play(run % 10 * 9600, run % 2 == 0 ? FORWARD : REVERSE), Err::NoError);
        ASSERT_TRUE(run % 10 == 0 || rig.device.WaitForQueued(3));
        for (int buffer = 0; buffer < 3; ++buffer) rig.device.PlayBuffer();
    }
    done = true;
    poller.join();
}

/// A composition that is in no project: a project changes only while nothing mixes.
std::shared_ptr<project::CompositionAsset> Composition(int rate) {
    auto composition = std::make_shared<project::CompositionAsset>();
    Apply({25.0, rate, 3}, composition->Settings());
    return composition;
}

/// The commands that a host can give, by name.
std::vector<std::pair<std::string, std::function<void(VirtualRig&)>>> Commands() {
    return {
        {"Stop", [](VirtualRig& rig) { rig.Playback().Stop(); }},
        {"Play",
         [](VirtualRig& rig) { rig.Playback().PlayFromFrame(3, FORWARD, 2, nullptr, nullptr); }},
        {"PlayReverse",
         [](VirtualRig& rig) {
             rig.Playback().PlayFromSample(9000, REVERSE, 1, nullptr, nullptr);
         }},
        {"PlayOutOfRange",
         [](VirtualRig& rig) { rig.Playback().PlayFromFrame(-1, FORWARD, 1, nullptr, nullptr); }},
        {"PlayFrame", [](VirtualRig& rig) { rig.Playback().PlayFrame(2); }},
        {"Skip", [](VirtualRig& rig) { rig.Playback().SkipToFrame(1); }},
        {"Flush", [](VirtualRig& rig) { rig.Playback().FlushQueuedPlaybackSamples(); }},
        {"Refresh", [](VirtualRig& rig) { rig.Playback().Refresh(); }},
        {"NewTarget",
         [](VirtualRig& rig) {
             rig.Playback().Initialize(rig.builder.Project(), Composition(8000));
         }},
        {"BadTarget",
         [](VirtualRig& rig) {
             rig.Playback().Initialize(rig.builder.Project(), Composition(7999));
         }},
        {"Reset", [](VirtualRig& rig) { rig.engine->ResetPlaybackEngine(); }},
        {"Metrics", [](VirtualRig& rig) { rig.Playback().CurrentPlaybackMetrics(); }},
    };
}

/// One command from inside a callback. While the device gives it the host gives none.
class CommandFromACallback : public testing::TestWithParam<std::size_t> {
protected:
    enum class Giver { Nobody, Host, Device };

    CommandFromACallback() {
        rig_.builder.AddTrack();
        rig_.SetUpSequence();
        rig_.Playback().AddMeterObserver(&observer_);
    }

    /// Gives the command, once, when the turn is that of the thread that this runs on.
    void Give() {
        const Giver here = std::this_thread::get_id() == host_ ? Giver::Host : Giver::Device;
        if (turn_ != here) return;
        turn_ = Giver::Nobody;
        Commands()[GetParam()].second(rig_);
        done_ = true;
    }
    /// Starts a run that is not heard until the device calls back.
    void PlaySilently(std::function<void(void*)> completion) {
        rig_.device->Stall(true);
        ASSERT_EQ(rig_.Playback().PlayFromFrame(20, FORWARD, 1, std::move(completion), nullptr),
                  Err::NoError);
    }
    void ExpectThatTheEngineStillWorks() {
        rig_.device->Stall(false);
        EXPECT_TRUE(Eventually([&] { return done_.load(); }));
        rig_.Playback().Stop();
        EXPECT_FALSE(rig_.Playback().IsPlaying());
        rig_.builder.Sequence()->Settings().SetFrameCount(4);
        ASSERT_EQ(rig_.SetUpSequence(), Err::NoError);
        std::atomic<bool> completed = false;
        ASSERT_EQ(rig_.Playback().PlayFromFrame(
                      0, FORWARD, 1, [&](void*) { completed = true; }, nullptr),
                  Err::NoError);
        EXPECT_TRUE(Eventually([&] { return completed.load(); }));
        EXPECT_EQ(rig_.Playback().Stop(), Err::NoError);
    }

    const std::thread::id host_ = std::this_thread::get_id();
    std::atomic<Giver> turn_ = Giver::Nobody;
    std::atomic<bool> done_ = false;
    SpyObserver observer_;
    VirtualRig rig_{{25.0, 8000, 30}};
};

TEST_P(CommandFromACallback, WorksAtTheStartOfARun) {
    observer_.onStart = [&] { Give(); };
    turn_ = Giver::Host;

    PlaySilently(nullptr);

    ExpectThatTheEngineStillWorks();
}

TEST_P(CommandFromACallback, WorksInAStop) {
    observer_.onStop = [&] { Give(); };
    PlaySilently(nullptr);
    turn_ = Giver::Host;

    rig_.Playback().Stop();

    ExpectThatTheEngineStillWorks();
}

TEST_P(CommandFromACallback, WorksInTheStopOfThePlayThatBeginsARun) {
    observer_.onStop = [&] { Give(); };
    turn_ = Giver::Host;

    rig_.Playback().PlayFromFrame(0, FORWARD, 1, nullptr, nullptr);

    ExpectThatTheEngineStillWorks();
}

TEST_P(CommandFromACallback, WorksInTheStopOfASkip) {
    observer_.onStop = [&] { Give(); };
    PlaySilently(nullptr);
    turn_ = Giver::Host;

    rig_.Playback().SkipToFrame(5);

    ExpectThatTheEngineStillWorks();
}

TEST_P(CommandFromACallback, WorksAtTheLevelsOfASingleFrame) {
    observer_.onUpdate = [&] { Give(); };
    turn_ = Giver::Host;

    rig_.Playback().PlayFrame(0);

    ExpectThatTheEngineStillWorks();
}

TEST_P(CommandFromACallback, WorksInAnEndNotificationOnTheDevicesThread) {
    observer_.onStop = [&] { Give(); };
    PlaySilently(nullptr);
    turn_ = Giver::Device;

    ExpectThatTheEngineStillWorks();
}

TEST_P(CommandFromACallback, WorksInACompletion) {
    PlaySilently([&](void*) { Give(); });
    turn_ = Giver::Device;

    ExpectThatTheEngineStillWorks();
}

INSTANTIATE_TEST_SUITE_P(Playback, CommandFromACallback,
                         testing::Range<std::size_t>(0, Commands().size()),
                         [](const auto& command) { return Commands()[command.param].first; });

TEST(PlaybackCallbacks, AnObserverMayRemoveItselfAndOthersInANotification) {
    PlaybackRig rig;
    SpyObserver first;
    auto second = std::make_unique<SpyObserver>();
    rig.Playback().AddMeterObserver(&first);
    rig.Playback().AddMeterObserver(second.get());
    first.onStop = [&] {
        rig.Playback().RemoveMeterObserver(&first);
        rig.Playback().RemoveMeterObserver(second.get());
        second.reset();
    };

    rig.Playback().Stop();
    rig.Playback().Stop();

    EXPECT_EQ(first.calls, Calls{"stop"});
}

TEST(PlaybackCallbacks, CompletionRunsOnAThreadOfTheDevice) {
    VirtualRig rig({25.0, 8000, 3});
    std::promise<std::thread::id> thread;
    rig.SetUpSequence();

    rig.Playback().PlayFromFrame(
        0, FORWARD, 1, [&](void*) { thread.set_value(std::this_thread::get_id()); }, nullptr);

    EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
}

TEST(PlaybackCallbacks, TheEngineMayBeReleasedFromItsOwnCompletion) {
    VirtualRig rig({25.0, 8000, 3});
    std::atomic<bool> released = false;
    rig.SetUpSequence();
    rig.device->Stall(true);
    rig.Playback().PlayFromFrame(
        0, FORWARD, 1,
        [&](void*) {
            rig.MakePlayback();
            released = true;
        },
        nullptr);

    rig.device->Stall(false);

    EXPECT_TRUE(Eventually([&] { return released.load(); }));
    EXPECT_EQ(rig.SetUpSequence(), Err::NoError);
}

TEST(PlaybackCallbacks, NoCallFollowsAnObserverThatReleasesTheEngineAtTheEndOfARun) {
    SpyObserver first;
    SpyObserver second;
    std::atomic<bool> completed = false;
    std::atomic<bool> released = false;
    {
        VirtualRig rig({25.0, 8000, 3});
        rig.SetUpSequence();
        rig.Playback().AddMeterObserver(&first);
        rig.Playback().AddMeterObserver(&second);
        rig.device->Stall(true);
        rig.Playback().PlayFromFrame(
            0, FORWARD, 1, [&](void*) { completed = true; }, nullptr);
        second.calls.clear();
        first.onStop = [&] {
            rig.MakePlayback();
            released = true;
        };

        rig.device->Stall(false);

        EXPECT_TRUE(Eventually([&] { return released.load(); }));
        EXPECT_EQ(rig.SetUpSequence(), Err::NoError);
    }  // waits for the thread of the output

    EXPECT_EQ(second.calls, std::vector<std::string>());
    EXPECT_FALSE(completed);
}

TEST(PlaybackCallbacks, ARunThatEndsBeforeItsCommandReturnsDoesNotCountAsPlaying) {
    VirtualRig rig({25.0, 8000, 3});
    SpyObserver observer;
    std::atomic<bool> completed = false;
    rig.SetUpSequence();
    rig.Playback().AddMeterObserver(&observer);
    // The run ends before its start is reported, and so before it is marked as playing.
    observer.onStart = [&] {
        EXPECT_TRUE(Eventually([&] { return completed && rig.Impl().worker.HasPlayedOut(); }));
    };

    rig.Playback().PlayFromFrame(
        0, FORWARD, 1, [&](void*) { completed = true; }, nullptr);

    EXPECT_FALSE(rig.Playback().IsPlaying());
}

TEST(PlaybackCallbacks, StopReturnsOnADeviceThatHasStoppedCallingBack) {
    VirtualRig rig({25.0, 8000, 300});
    rig.SetUpSequence();
    rig.device->Stall(true);
    rig.Playback().PlayFromFrame(0, FORWARD, 1, nullptr, nullptr);
    ASSERT_TRUE(
        Eventually([&] { return rig.Impl().voices.Buffers()[49]->run == rig.Impl().runNumber; }));

    EXPECT_EQ(rig.Playback().Stop(), Err::NoError);

    rig.device->Stall(false);
    EXPECT_EQ(rig.Playback().PlayFromFrame(299, FORWARD, 1, nullptr, nullptr), Err::NoError);
    EXPECT_TRUE(Eventually([&] { return !rig.Playback().IsPlaying(); }));
}

TEST(PlaybackCallbacks, ALostDeviceIsNotReportedAndTheRunStays) {
    VirtualRig rig({25.0, 8000, 300}, Clock::Stepped);
    SpyObserver observer;
    std::atomic<bool> completed = false;
    rig.SetUpSequence();
    rig.Playback().AddMeterObserver(&observer);
    rig.Playback().PlayFromFrame(
        0, FORWARD, 1, [&](void*) { completed = true; }, nullptr);
    for (int frame = 0; frame < 3; ++frame) {
        ASSERT_GT(rig.output->AdvanceBuffer(std::chrono::seconds(20)), 0);
    }
    // The worker has taken its last request and waits for room for the 53rd buffer.
    ASSERT_TRUE(Eventually([&] { return rig.Impl().voices.Buffers()[2]->endSample == 53 * 320; }));
    observer.calls.clear();

    rig.device->Stall(true);

    // The half second of an unanswered flush is longer than any other wait of the engine.
    EXPECT_EQ(rig.Playback().FlushQueuedPlaybackSamples(), Err::FlushFailed);
    EXPECT_TRUE(rig.Playback().IsPlaying());
    EXPECT_EQ(rig.Playback().CurrentPlaybackVideoFrame(), 2);
    EXPECT_EQ(observer.calls, Calls());
    EXPECT_EQ(rig.Playback().Stop(), Err::NoError);
    EXPECT_FALSE(rig.Playback().IsPlaying());
    EXPECT_EQ(observer.calls, Calls{"stop"});
    EXPECT_FALSE(completed);
}

TEST(PlaybackCallbacks, ATargetMayBeDeletedInTheMiddleOfARun) {
    VirtualRig rig({25.0, 8000, 300});
    auto gone = std::make_shared<project::EditorSequence>();
    gone->Settings().SetFrameCount(100000);
    ASSERT_EQ(rig.Playback().Initialize(rig.builder.Project(), gone), Err::NoError);
    rig.Playback().PlayFromFrame(0, FORWARD, 1, nullptr, nullptr);
    ASSERT_TRUE(Eventually([&] { return rig.output->FramesTaken() > 100000; }));

    gone.reset();

    const long long taken = rig.output->FramesTaken();
    EXPECT_TRUE(Eventually([&] { return rig.output->FramesTaken() > taken + 200000; }))
        << "the ring repeats";
    EXPECT_TRUE(rig.Playback().IsPlaying());
    EXPECT_EQ(rig.Playback().Stop(), Err::NoError);
}

TEST(PlaybackCallbacks, AnHourOfLoopingFromTheCompletion) {
    // A minute of 8 kHz, started again sixty times. The head start stays as it is for a host.
    VirtualRig rig({1.0, 8000, 60});
    rig.PlayOn(std::make_shared<sonrel::VirtualOutput>(Clock::DrainDriven));
    rig.engine->InitializePlaybackEngine();
    ASSERT_EQ(rig.SetUpSequence(), Err::NoError);
    rig.Impl().headStart = std::chrono::milliseconds(2);
    std::atomic<int> ends = 0;
    std::function<void(void*)> again = [&](void* self) {
        if (++ends == 60) return;
        auto& completion = *static_cast<std::function<void(void*)>*>(self);
        EXPECT_EQ(rig.Playback().PlayFromSample(0, FORWARD, 1, completion, self), Err::NoError);
    };

    rig.device->Stall(true);
    ASSERT_EQ(rig.Playback().PlayFromSample(0, FORWARD, 1, again, &again), Err::NoError);
    rig.device->Stall(false);

    EXPECT_TRUE(Eventually([&] { return ends == 60 && !rig.Playback().IsPlaying(); }));
    EXPECT_EQ(rig.output->FramesTaken(), 3600LL * 8000);
}

TEST(PlaybackOnASteppedOutput, TheReportedFrameIsTheSoundingFrame) {
    VirtualRig rig({25.0, 48000, 60}, Clock::Stepped);
    rig.builder.AddObject(rig.builder.AddMedia(Counting(115200)), 0, 60);
    rig.SetUpSequence();
    rig.Playback().PlayFromFrame(10, FORWARD, 1, nullptr, nullptr);
    EXPECT_EQ(rig.Playback().CurrentPlaybackVideoFrame(), NO_FRAME);

    ASSERT_EQ(rig.output->AdvanceBuffer(std::chrono::seconds(20)), 1920);
    EXPECT_EQ(rig.Playback().CurrentPlaybackVideoFrame(), 10);
    ASSERT_TRUE(
        Eventually([&] { return rig.Impl().voices.Source().GetState().buffersQueued > 0; }));
    ASSERT_EQ(rig.output->Advance(1), 1);
    EXPECT_EQ(rig.Playback().CurrentPlaybackVideoFrame(), 11);
    for (int frame = 11; frame < 60; ++frame) {
        ASSERT_GT(rig.output->AdvanceBuffer(std::chrono::seconds(20)), 0);
        // The first samples of these frames are slightly before them: 55680 / 48000 * 25 is
        // below 29.
        const bool early = frame == 29 || frame == 57 || frame == 58;
        EXPECT_EQ(rig.Playback().CurrentPlaybackVideoFrame(), early ? frame - 1 : frame);
    }

    EXPECT_TRUE(Eventually([&] { return !rig.Playback().IsPlaying(); }));
    EXPECT_EQ(rig.output->Samples(), [] {
        const Samples all = Counting(115200);
        return Samples(all.begin() + 2 * 19200, all.end());
    }());
}

}  // namespace
}  // namespace sonrel_tests
