// SPDX-License-Identifier: MIT
// A sound server that ends or freezes, through a sound library that the test controls.
#include <gtest/gtest.h>

#include <condition_variable>
#include <future>
#include <mutex>

#include "sonrel/playback/device/SdlOutput.h"
#include "tests/playback/device/DeviceRig.h"

using namespace sonrel_tests;

namespace {

/// The sound library's state; its functions are plain C functions.
struct FakeSdl {
    std::atomic<int> status = SDL_AUDIO_PLAYING;
    SDL_AudioSpec spec = {};
    std::promise<void> thaw;
    std::shared_future<void> thawed = thaw.get_future();
};

FakeSdl* fake = nullptr;

/// Counts the uses of the sound library. A closing thread may still run after its output is gone.
/// The fake library must exist until the last use has ended.
class Uses {
public:
    void Begin() {
        const std::lock_guard lock(mutex_);
        ++count_;
    }
    void End() {
        const std::lock_guard lock(mutex_);
        --count_;
        ended_.notify_all();
    }
    void WaitForAll() {
        std::unique_lock lock(mutex_);
        ended_.wait(lock, [this] { return count_ == 0; });
    }

private:
    std::mutex mutex_;
    std::condition_variable ended_;
    int count_ = 0;  ///< guarded by mutex_
};

Uses uses;

std::shared_ptr<const device::SdlLibrary> FakeLibrary() {
    auto library = std::make_shared<device::SdlLibrary>();
    library->initSubSystem = [](Uint32) {
        uses.Begin();
        return 0;
    };
    library->quitSubSystem = [](Uint32) { uses.End(); };
    library->openAudioDevice = [](const char*, int, const SDL_AudioSpec* wanted, SDL_AudioSpec*,
                                  int) {
        fake->spec = *wanted;
        return SDL_AudioDeviceID{2};
    };
    library->pauseAudioDevice = [](SDL_AudioDeviceID, int) {};
    library->closeAudioDevice = [](SDL_AudioDeviceID) { fake->thawed.wait(); };
    library->getAudioDeviceStatus = [](SDL_AudioDeviceID) {
        return static_cast<SDL_AudioStatus>(fake->status.load());
    };
    return library;
}

/// Gives ones.
class Ones : public AudioOutputSource {
public:
    int Pull(short* output, int frameCount) override {
        std::fill_n(output, 2 * frameCount, short{1});
        return frameCount;
    }
    int ReadyFrames() override { return 1; }
};

class SdlLoss : public testing::Test {
protected:
    void SetUp() override { fake = &sdl_; }
    void TearDown() override {
        Thaw();
        output_.reset();
        uses.WaitForAll();
        fake = nullptr;
    }

    void Thaw() {
        if (!thawed_) sdl_.thaw.set_value();
        thawed_ = true;
    }
    bool Open() { return output_->Open(RATE, std::make_shared<Ones>()); }
    /// The samples that the library receives for two frames.
    std::vector<short> Pulled() {
        std::vector<short> samples{7, 7, 7, 7};
        sdl_.spec.callback(sdl_.spec.userdata, reinterpret_cast<Uint8*>(samples.data()), 8);
        return samples;
    }

    FakeSdl sdl_;
    bool thawed_ = false;
    std::unique_ptr<device::SdlOutput> output_ =
        std::make_unique<device::SdlOutput>(FakeLibrary(), device::DEFAULT_BUFFER_MS);
};

TEST_F(SdlLoss, TheOutputIsLostOnceTheLibraryHasStoppedTheDevice) {
    ASSERT_TRUE(Open());
    EXPECT_FALSE(output_->IsLost());

    sdl_.status = SDL_AUDIO_STOPPED;

    EXPECT_TRUE(output_->IsLost());
}

TEST_F(SdlLoss, AClosedOutputIsNotLost) {
    sdl_.status = SDL_AUDIO_STOPPED;

    EXPECT_FALSE(output_->IsLost());
}

TEST_F(SdlLoss, CloseReturnsAlthoughTheSoundServerIsFrozenAndEndsThePulling) {
    ASSERT_TRUE(Open());
    ASSERT_EQ(Pulled(), (std::vector<short>{1, 1, 1, 1}));

    output_->Close();

    EXPECT_EQ(Pulled(), (std::vector<short>{0, 0, 0, 0}));
}

TEST_F(SdlLoss, TheOutputOpensAgainOnceTheSoundServerRuns) {
    ASSERT_TRUE(Open());
    output_->Close();

    EXPECT_FALSE(Open());
    Thaw();
    // The library's own thread may need a moment to close.
    const auto deadline = std::chrono::steady_clock::now() + TIMEOUT;
    bool opened = false;
    while (!opened && std::chrono::steady_clock::now() < deadline) opened = Open();
    EXPECT_TRUE(opened);
}

}  // namespace
