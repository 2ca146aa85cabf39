// SPDX-License-Identifier: MIT
// What is particular to the sound library: when it is loaded, what a machine without a device
// shows, and what it must not do to a host.
#include <gmock/gmock.h>
#include <signal.h>

#include "tests/playback/device/OutputRig.h"

using namespace sonrel_tests;

namespace {

constexpr int RATE = 48000;

TEST(SdlLibrary, ALibraryThatIsNotThereIsALoadError) {
    EXPECT_THROW(device::SdlLibrary::Load("libnowhere-to-be-found.so.7"), device::LibraryLoadError);
}

TEST(SdlLibrary, ALibraryThatLacksTheFunctionsIsALoadError) {
    EXPECT_THROW(device::SdlLibrary::Load("libm.so.6"), device::LibraryLoadError);
}

TEST(SdlOutput, ADriverNameThatNobodyKnowsShowsWhenTheOutputOpens) {
    const Environment driver("SDL_AUDIODRIVER", "no-such-driver");
    const auto engine = device::CreateAudioDevice(nullptr);
    ASSERT_NE(engine, nullptr);

    EXPECT_EQ(engine->CreateMasteringVoice(2, RATE), nullptr);
}

TEST(SdlOutput, ADeviceThatCannotBeOpenedShowsWhenTheOutputOpens) {
    const Environment driver("SDL_AUDIODRIVER", "disk");
    const Environment file("SDL_DISKAUDIOFILE", "/nowhere/at/all/sound.raw");
    const auto engine = device::CreateAudioDevice(nullptr);

    EXPECT_EQ(engine->CreateMasteringVoice(2, RATE), nullptr);
}

TEST(SdlOutput, AfterARefusalTheSameEngineOpensWhenThereIsADevice) {
    const auto engine = device::CreateAudioDevice(nullptr);
    {
        const Environment driver("SDL_AUDIODRIVER", "no-such-driver");
        ASSERT_EQ(engine->CreateMasteringVoice(2, RATE), nullptr);
    }
    const Environment driver("SDL_AUDIODRIVER", "dummy");

    EXPECT_NE(engine->CreateMasteringVoice(2, RATE), nullptr);
}

TEST(SdlOutput, TheHandlersThatAHostHasForSignalsStay) {
    const Environment driver("SDL_AUDIODRIVER", "dummy");
    Listener listener;
    const OpenDevice open(nullptr, RATE, listener);
    ASSERT_NE(open.voice, nullptr);

    struct sigaction action = {};
    sigaction(SIGINT, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
    sigaction(SIGTERM, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

TEST(SdlPeriod, IsTheLargestPowerOfTwoThatLastsAtMostTwelveMilliseconds) {
    EXPECT_EQ(device::SdlPeriod(8000), 64);
    EXPECT_EQ(device::SdlPeriod(22050), 256);
    EXPECT_EQ(device::SdlPeriod(44100), 512);
    EXPECT_EQ(device::SdlPeriod(48000), 512);
    EXPECT_EQ(device::SdlPeriod(96000), 1024);
}

}  // namespace
