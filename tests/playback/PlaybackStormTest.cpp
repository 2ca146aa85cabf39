// SPDX-License-Identifier: MIT
// Ten thousand random commands on an output that plays as fast as it can.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/playback/VirtualRig.h"

namespace sonrel_tests {
namespace {

constexpr int COMMANDS_A_STORM = 1250;

using Errs = std::set<Err>;

/// Gives random commands from one thread, as a host does, and checks every answer against what the
/// command can answer at all. Completions and observers come from the thread of the device
/// meanwhile.
class Storm {
public:
    explicit Storm(unsigned int seed) : random_(seed) {
        for (int track = 0; track < 2; ++track) {
            rig_.builder.AddObject(rig_.builder.AddMedia(Noise(320 * FRAMES, seed)), 0, FRAMES);
        }
        media_ = rig_.builder.AddMedia(Noise(20000, seed + 1));
        composition_ = rig_.builder.AddComposition({50.0, 8000, 30});
        rig_.builder.AddLayer(composition_, media_, 0, 30);
        rig_.SetUpSequence();
    }

    void GiveCommand() {
        switch (Pick(18)) {
            case 0:
                SetUp();
                break;
            case 1:
                Expect(Playback().Refresh(),
                       {Err::NoError, Err::NotInitialized, Err::UnsupportedSampleRate});
                break;
            case 2:
            case 3: {
                const Err played = Playback().PlayFrame(Pick(FRAMES + 4) - 2);
                Expect(played, {Err::NoError, Err::NotInitialized, Err::Busy, Err::OutOfRange});
                break;
            }
            case 4:
            case 5:
            case 6:
                Play();
                break;
            case 7: {
                const Err played = Playback().PlayFromSample(
                    Pick(320 * FRAMES + 20) - 10, AnyDirection(), Pick(7) - 1, Completion(), this);
                Expect(played, {Err::NoError, Err::NotInitialized, Err::OutOfRange});
                break;
            }
            case 8:
                Skip();
                break;
            case 9:
            case 10:
                Stop();
                break;
            case 11:
            case 12:
                Expect(Playback().FlushQueuedPlaybackSamples(),
                       {Err::NoError, Err::NotPlaying, Err::FlushFailed});
                break;
            case 13:
                Playback().AddMeterObserver(&observers_[Pick(2)]);
                break;
            case 14:
                Playback().RemoveMeterObserver(&observers_[Pick(2)]);
                break;
            case 15:
                Playback().CurrentPlaybackMetrics();
                break;
            case 16:
                Edit();
                break;
            case 17:
                Rarely();
                break;
        }
        if (Pick(4) == 0) std::this_thread::yield();
    }

    /// The runs of a storm may all have been too short to end by themselves; this one is not.
    void PlayToTheEnd() {
        rig_.MakePlayback();
        Expect(rig_.SetUpSequence(), {Err::NoError});
        const int before = completions_;
        Expect(Playback().PlayFromFrame(FRAMES - 2, FORWARD, 1, Completion(), this),
               {Err::NoError});
        EXPECT_TRUE(Eventually([&] { return completions_ > before; }));
    }

    void Finish() {
        Stop();
        EXPECT_FALSE(Playback().IsPlaying());
    }

    long long FramesTaken() const { return rig_.output->FramesTaken(); }

private:
    static constexpr int FRAMES = 120;

    /// Counts what it is told, on whichever thread.
    class CountingObserver : public sonrel::AbstractAudioMeterObserver {
    public:
        void OnMeterSessionStart(int) override { ++calls; }
        void OnMeterSessionStop() override { ++calls; }
        void OnMeterUpdate(const sonrel::AudioMetrics&) override { ++calls; }
        std::atomic<int> calls = 0;
    };

    int Pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    Direction AnyDirection() { return Pick(3) == 0 ? REVERSE : FORWARD; }
    sonrel::PlaybackEngine& Playback() { return rig_.Playback(); }

    void Expect(Err result, const Errs& possible) {
        EXPECT_TRUE(possible.count(result)) << static_cast<int>(result);
    }

    /// A callback that must run at most once for each time that its run was started, and not after
    /// the run was stopped.
    std::function<void(void*)> Completion() {
        starts_ = std::make_shared<std::atomic<int>>(1);
        return [this, starts = starts_, run = ++run_](void*) {
            EXPECT_GE(--*starts, 0);
            EXPECT_LT(stoppedRuns_, run);
            ++completions_;
        };
    }

    /// A run that has just come to its end may be started once more.
    void Skip() {
        ++*starts_;
        const Err skipped = Playback().SkipToFrame(Pick(FRAMES + 4) - 2);
        Expect(skipped, {Err::NoError, Err::PlaybackFailed, Err::OutOfRange});
        if (skipped != Err::NoError) --*starts_;
    }

    void Play() {
        const Err played = Playback().PlayFromFrame(Pick(FRAMES + 4) - 2, AnyDirection(),
                                                    Pick(7) - 1, Completion(), this);
        Expect(played, {Err::NoError, Err::NotInitialized, Err::OutOfRange});
    }

    void Stop() {
        Expect(Playback().Stop(), {Err::NoError, Err::NotInitialized});
        stoppedRuns_ = run_.load();
        EXPECT_FALSE(Playback().IsPlaying());
    }

    void SetUp() {
        const auto& project = rig_.builder.Project();
        const Errs possible = {Err::NoError};
        switch (Pick(4)) {
            case 0:
                Expect(Playback().Initialize(project, composition_), possible);
                break;
            case 1:
                Expect(Playback().Initialize(project, media_), possible);
                break;
            default:
                Expect(rig_.SetUpSequence(), possible);
        }
    }

    void Edit() {
        const std::lock_guard guard(rig_.engine->Mixer()->Mutex());
        rig_.builder.Sequence()->AudioTracks()[static_cast<unsigned>(Pick(2))]->SetMuted(Pick(2) ==
                                                                                         0);
    }

    void Rarely() {
        switch (Pick(4)) {
            case 0: {
                // A target that is gone before its run has ended.
                auto gone = std::make_shared<project::EditorSequence>();
                Apply({25.0, 8000, 200}, gone->Settings());
                Expect(Playback().Initialize(rig_.builder.Project(), gone), {Err::NoError});
                Play();
                break;
            }
            case 1:
                rig_.engine->ResetPlaybackEngine();
                break;
            case 2:
                rig_.MakePlayback();
                break;
            case 3: {
                const auto refused = std::make_shared<project::CompositionAsset>();
                Apply({25.0, 7999, 30}, refused->Settings());
                Expect(Playback().Initialize(rig_.builder.Project(), refused),
                       {Err::UnsupportedSampleRate});
                break;
            }
        }
    }

    std::mt19937 random_;
    std::atomic<int> run_ = 0;
    std::shared_ptr<std::atomic<int>> starts_ = std::make_shared<std::atomic<int>>(0);
    std::atomic<int> stoppedRuns_ = 0;
    std::atomic<int> completions_ = 0;
    CountingObserver observers_[2];
    VirtualRig rig_{{25.0, 8000, FRAMES}};
    std::shared_ptr<project::MediaAsset> media_;
    std::shared_ptr<project::CompositionAsset> composition_;
};

class PlaybackStorm : public testing::TestWithParam<unsigned int> {};

TEST_P(PlaybackStorm, EveryCommandReturnsWithOneOfItsCodes) {
    Storm storm(GetParam());

    for (int i = 0; i < COMMANDS_A_STORM; ++i) storm.GiveCommand();
    storm.PlayToTheEnd();
    storm.Finish();

    EXPECT_GT(storm.FramesTaken(), 0);
}

INSTANTIATE_TEST_SUITE_P(Playback, PlaybackStorm, testing::Range(1u, 9u));

}  // namespace
}  // namespace sonrel_tests
