// SPDX-License-Identifier: MIT
// The callback thread allocates nothing and takes no lock: both are counted while it is inside a
// pull.
#include <gtest/gtest.h>
#include <pthread.h>
#include <semaphore.h>

#include <cstdlib>
#include <new>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/PlaybackEngine.h"
#include "tests/playback/device/OutputRig.h"
#include "tests/support/ProjectBuilder.h"

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define SONREL_COUNTS_LOCKS 0
#else
#define SONREL_COUNTS_LOCKS 1
#include <dlfcn.h>
#endif

namespace {

thread_local bool insidePull = false;
std::atomic<int> allocations = 0;
std::atomic<int> locks = 0;

}  // namespace

void* operator new(std::size_t size) {
    if (insidePull) ++allocations;
    if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    if (insidePull && memory != nullptr) ++allocations;
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
    if (insidePull) ++locks;
    return next(mutex);
}
#endif

using namespace sonrel_tests;

namespace {

/// Marks what runs inside a pull of another source.
class ProbedSource : public AudioOutputSource {
public:
    explicit ProbedSource(std::shared_ptr<AudioOutputSource> source) : source_(std::move(source)) {}

    int Pull(short* output, int frameCount) override {
        insidePull = true;
        const int taken = source_->Pull(output, frameCount);
        insidePull = false;
        return taken;
    }
    int ReadyFrames() override {
        insidePull = true;
        const int ready = source_->ReadyFrames();
        insidePull = false;
        return ready;
    }

private:
    const std::shared_ptr<AudioOutputSource> source_;
};

/// Puts the probe under an output.
class ProbedOutput : public AudioOutput {
public:
    explicit ProbedOutput(std::shared_ptr<AudioOutput> output) : output_(std::move(output)) {}

    bool Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) override {
        return output_->Open(sampleRate, std::make_shared<ProbedSource>(std::move(source)));
    }
    void Close() override { output_->Close(); }
    void Wake() override { output_->Wake(); }

private:
    const std::shared_ptr<AudioOutput> output_;
};

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

class RealTime : public testing::TestWithParam<OutputKind> {};

TEST_P(RealTime, APullAllocatesNothingAndTakesNoLock) {
    const RunningOutput output(GetParam());
    QuietListener listener;
    const OpenDevice open([&] { return std::make_shared<ProbedOutput>(output.Factory()()); }, 48000,
                          listener);
    ASSERT_NE(open.voice, nullptr);
    const std::vector<short> samples = Counting(1, 400);
    allocations = 0;
    locks = 0;

    // Queued, flushed while stopped, queued again while running, flushed while running, played out.
    for (int i = 0; i < 40; ++i) open.voice->SubmitSourceBuffer(BufferOf(samples, "x"));
    open.voice->FlushSourceBuffers();
    open.voice->Start();
    for (int i = 0; i < 20; ++i) open.voice->SubmitSourceBuffer(BufferOf(samples, "y"));
    open.voice->FlushSourceBuffers();
    open.voice->SubmitSourceBuffer(BufferOf(samples, "z", true));
    ASSERT_TRUE(listener.WaitForEnd());
    while (listener.ends != 61) std::this_thread::yield();

    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(locks, 0);
}

INSTANTIATE_TEST_SUITE_P(Device, RealTime,
                         testing::Values(OutputKind::Stepped, OutputKind::Paced,
                                         OutputKind::DrainDriven, OutputKind::SdlDummy,
                                         OutputKind::SdlDisk),
                         [](const testing::TestParamInfo<OutputKind>& run) {
                             return NameOf(run.param);
                         });

/// What a whole engine does on the thread of its output, buffer by buffer, up to the end of the
/// run, where the host is called.
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
    allocations = 0;
    locks = 0;

    ASSERT_EQ(
        playback.PlayFromFrame(0, PlaybackEngine::PlaybackDirection::Forward, 1, nullptr, nullptr),
        PlaybackEngine::Err::NoError);
    for (int frame = 0; frame < 150; ++frame) {
        ASSERT_EQ(stepped->AdvanceBuffer(PATIENCE), 250);
        ASSERT_EQ(playback.CurrentPlaybackVideoFrame(), frame);
    }
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(locks, 0);

    // The ends of what a stop drops.
    EXPECT_EQ(playback.Stop(), PlaybackEngine::Err::NoError);
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(locks, 0);
    orlo::sonrel::SetAudioOutputFactory(nullptr);
}

#if SONREL_COUNTS_LOCKS
TEST(RealTimeProbe, SeesALockAndAnAllocation) {
    allocations = 0;
    locks = 0;
    std::mutex mutex;

    insidePull = true;
    mutex.lock();
    mutex.unlock();
    ::operator delete(::operator new(16));
    insidePull = false;

    EXPECT_EQ(locks, 1);
    EXPECT_EQ(allocations, 2);
}
#endif

}  // namespace
