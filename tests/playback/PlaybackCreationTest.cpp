// SPDX-License-Identifier: MIT
// Making the playback engine on a device.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "sonrel/playback/AudioOutput.h"
#include "tests/playback/PlaybackRig.h"

namespace sonrel_tests {
namespace {

/// An engine before InitializePlaybackEngine, and a device maker that a test sets.
class PlaybackCreation : public testing::Test {
protected:
    ~PlaybackCreation() override { sonrel::SetAudioDeviceMaker({}); }

    void FailWith(const std::function<void()>& failure) {
        sonrel::SetAudioDeviceMaker([=, this] {
            failure();
            return device_.MakeEngine();
        });
    }

    FakeDevice device_;
    std::shared_ptr<sonrel::Sonrel> engine_ =
        sonrel::Sonrel::Create(L"", L"", nullptr, sonrel::Sonrel::LogOption::NoErrorLog);
};

TEST_F(PlaybackCreation, ThePlaybackEngineIsEmptyBeforeItIsInitialized) {
    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, AWorkingDeviceMakesAPlaybackEngine) {
    FailWith([] {});

    EXPECT_EQ(engine_->InitializePlaybackEngine(), Err::NoError);

    ASSERT_NE(engine_->Playback(), nullptr);
    EXPECT_FALSE(engine_->Playback()->IsInitialized());
    EXPECT_EQ(engine_->Playback()->InitializedType(), TargetType::None);
    EXPECT_EQ(engine_->Playback()->CurrentPlaybackVideoFrame(), NO_FRAME);
}

TEST_F(PlaybackCreation, AMissingSoundLibraryIsTwo) {
    FailWith([] { throw device::LibraryLoadError("not there"); });

    EXPECT_EQ(static_cast<int>(engine_->InitializePlaybackEngine()), 2);
    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, AnyOtherFailureOfTheDeviceIsThree) {
    FailWith([] { throw std::runtime_error("it is broken"); });

    EXPECT_EQ(static_cast<int>(engine_->InitializePlaybackEngine()), 3);
    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, ADeviceThatRefusesTheThreadIsThree) {
    FailWith([this] { device_.refuseThread = true; });

    EXPECT_EQ(static_cast<int>(engine_->InitializePlaybackEngine()), 3);
    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, AnOutputFactoryThatReturnsNothingIsThree) {
    sonrel::SetAudioOutputFactory([] { return nullptr; });

    EXPECT_EQ(engine_->InitializePlaybackEngine(), Err::AudioEngineCreateFailed);
    sonrel::SetAudioOutputFactory({});
}

TEST_F(PlaybackCreation, ASecondCallMakesAnotherEngine) {
    FailWith([] {});
    engine_->InitializePlaybackEngine();
    const std::weak_ptr<sonrel::PlaybackEngine> first = engine_->Playback();

    EXPECT_EQ(engine_->InitializePlaybackEngine(), Err::NoError);

    EXPECT_TRUE(first.expired());
    EXPECT_NE(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, AFailedSecondCallReleasesTheFirstEngine) {
    FailWith([] {});
    engine_->InitializePlaybackEngine();
    const std::weak_ptr<sonrel::PlaybackEngine> first = engine_->Playback();
    FailWith([] { throw std::runtime_error("it is broken"); });

    EXPECT_EQ(engine_->InitializePlaybackEngine(), Err::AudioEngineCreateFailed);

    EXPECT_TRUE(first.expired());
    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, AnEngineThatTheHostHoldsOutlivesASecondCall) {
    FailWith([] {});
    engine_->InitializePlaybackEngine();
    const std::shared_ptr<sonrel::PlaybackEngine> first = engine_->Playback();

    engine_->InitializePlaybackEngine();

    EXPECT_NE(engine_->Playback(), first);
    EXPECT_EQ(first->CurrentPlaybackVideoFrame(), NO_FRAME);
}

TEST_F(PlaybackCreation, AResetWithoutAnEngineDoesNothing) {
    engine_->ResetPlaybackEngine();

    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, TheDeviceIsReleasedByTheThreadThatMadeIt) {
    FailWith([] {});
    engine_->InitializePlaybackEngine();
    EXPECT_EQ(device_.ThreadsInUse(), 1);

    engine_.reset();

    EXPECT_EQ(device_.ThreadsInUse(), 0);
}

}  // namespace
}  // namespace sonrel_tests
