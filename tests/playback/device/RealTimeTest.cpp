// SPDX-License-Identifier: MIT
// The callback thread allocates nothing, takes no lock, waits for nothing and touches no file: all
// of it is counted while it is inside a pull.
#include <gtest/gtest.h>
#include <semaphore.h>

#include <mutex>
#include <new>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/PlaybackEngine.h"
#include "tests/playback/RealTimeProbe.h"
#include "tests/playback/device/CallbackCount.h"
#include "tests/playback/device/OutputRig.h"
#include "tests/playback/device/ProbedOutput.h"
#include "tests/support/ProjectBuilder.h"

using namespace sonrel_tests;

namespace {

/// Counts callbacks with nothing but atomics and a semaphore.
class QuietListener : public device::VoiceEvents {
public:
    QuietListener() { sem_init(&ended_, 0, 0); }
    ~QuietListener() override { sem_destroy(&ended_); }

    void OnBufferStart(void*) override { ++starts; }
    void OnBufferEnd(void*) override { ++ends; }
    void OnStreamEnd() override { sem_post(&ended_); }

    bool WaitForEnd() {
        timespec until = {};
        clock_gettime(CLOCK_REALTIME, &until);
        until.tv_sec += 20;
        return sem_timedwait(&ended_, &until) == 0;
    }

    std::atomic<int> starts = 0;
    std::atomic<int> ends = 0;

private:
    sem_t ended_ = {};
};

void ExpectNothing() {
    EXPECT_EQ(RealTimeProbe::allocations, 0);
    EXPECT_EQ(RealTimeProbe::locks, 0);
    EXPECT_EQ(RealTimeProbe::waits, 0);
    EXPECT_EQ(RealTimeProbe::fileCalls, 0);
}

class RealTime : public testing::TestWithParam<OutputKind> {};

TEST_P(RealTime, APullAllocatesNothingAndTakesNoLock) {
    const RunningOutput output(GetParam());
    QuietListener listener;
    const OpenDevice open([&] { return std::make_shared<ProbedOutput>(output.Factory()()); }, 48000,
                          listener);
    ASSERT_NE(open.voice, nullptr);
    const std::vector<short> samples = Counting(1, 400);
    RealTimeProbe::Clear();

    // Queued, flushed while stopped, queued again while running, flushed while running, played out.
    for (int i = 0; i < 40; ++i) open.voice->SubmitSourceBuffer(BufferOf(samples, "x"));
    open.voice->FlushSourceBuffers();
    open.voice->Start();
    for (int i = 0; i < 20; ++i) open.voice->SubmitSourceBuffer(BufferOf(samples, "y"));
    open.voice->FlushSourceBuffers();
    open.voice->SubmitSourceBuffer(BufferOf(samples, "z", true));
    ASSERT_TRUE(listener.WaitForEnd());
    while (listener.ends != 61) std::this_thread::yield();

    ExpectNothing();
}

INSTANTIATE_TEST_SUITE_P(Device, RealTime,
                         testing::Values(OutputKind::Stepped, OutputKind::Paced,
                                         OutputKind::DrainDriven, OutputKind::SdlDummy,
                                         OutputKind::SdlDisk),
                         [](const testing::TestParamInfo<OutputKind>& run) {
                             return NameOf(run.param);
                         });

/// A whole engine on the thread of its output, buffer by buffer, up to the end of the run, where
/// the host is called.
TEST(RealTimeRun, AnEngineAllocatesNothingAndTakesNoLockWhileItsBuffersAreHeard) {
    using orlo::sonrel::PlaybackEngine;
    using orlo::sonrel::Sonrel;
    const auto stepped = std::make_shared<VirtualOutput>(VirtualOutput::Clock::Stepped);
    orlo::sonrel::SetAudioOutputFactory([&] { return std::make_shared<ProbedOutput>(stepped); });
    // 250 samples a frame: every frame begins on a sample that is stamped with it.
    ProjectBuilder builder({32.0, 8000, 200});
    builder.AddObject(builder.AddMedia(Noise(50000, 1)), 0, 200);
    const std::shared_ptr<Sonrel> engine =
        Sonrel::Create(L"", L"", nullptr, Sonrel::LogOption::NoErrorLog);
    ASSERT_EQ(engine->InitializePlaybackEngine(), PlaybackEngine::Err::NoError);
    PlaybackEngine& playback = *engine->Playback();
    ASSERT_EQ(playback.Initialize(builder.Project(), builder.Sequence()),
              PlaybackEngine::Err::NoError);
    RealTimeProbe::Clear();

    ASSERT_EQ(
        playback.PlayFromFrame(0, PlaybackEngine::PlaybackDirection::Forward, 1, nullptr, nullptr),
        PlaybackEngine::Err::NoError);
    for (int frame = 0; frame < 150; ++frame) {
        ASSERT_EQ(stepped->AdvanceBuffer(TIMEOUT), 250);
        ASSERT_EQ(playback.CurrentPlaybackVideoFrame(), frame);
    }
    ExpectNothing();

    // The ends of the buffers that a stop drops.
    EXPECT_EQ(playback.Stop(), PlaybackEngine::Err::NoError);
    ExpectNothing();
    orlo::sonrel::SetAudioOutputFactory(nullptr);
}

/// `./check storms` takes a million of them.
TEST(RealTimeRun, ManyCallbacksAllocateNothingTakeNoLockWaitForNothingAndCallNoFile) {
    constexpr long long CALLBACKS = 10000;
    RealTimeProbe::Clear();

    const CallbackCount count = CountCallbacks(CALLBACKS);

    ExpectNothing();
    EXPECT_EQ(count.failures, 0);
    EXPECT_GE(count.callbacks, CALLBACKS);
    EXPECT_GT(count.buffers, CALLBACKS / 4);
    EXPECT_GT(count.flushes, 0);
}

/// The counts of this program are its own, so it shows that they count.
TEST(RealTimeRun, IsWatchedByCountsThatSeeALockAndAnAllocation) {
    std::mutex mutex;
    RealTimeProbe::Clear();

    {
        const RealTimeProbe probe;
        ::operator delete(::operator new(16));
        const std::lock_guard guard(mutex);
    }

    EXPECT_EQ(RealTimeProbe::allocations, 2);
    EXPECT_EQ(RealTimeProbe::locks, RealTimeProbe::COUNTS_EVERYTHING ? 1 : 0);
}

}  // namespace
