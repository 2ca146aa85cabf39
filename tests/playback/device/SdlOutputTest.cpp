// SPDX-License-Identifier: MIT
// The sound library: when it is loaded, the errors of a machine without a device, and its effects
// on a host.
#include <gmock/gmock.h>
#include <signal.h>

#include <cstdint>
#include <filesystem>

#include "sonrel/playback/detail/DeviceFactory.h"
#include "tests/playback/device/OutputRig.h"

using namespace sonrel_tests;

namespace {

TEST(SdlLibrary, AMissingLibraryIsALoadError) {
    EXPECT_THROW(device::SdlLibrary::Load("libnowhere-to-be-found.so.7"), device::LibraryLoadError);
}

TEST(SdlLibrary, ALibraryThatLacksTheFunctionsIsALoadError) {
    EXPECT_THROW(device::SdlLibrary::Load("libm.so.6"), device::LibraryLoadError);
}

TEST(SdlOutput, AnUnknownDriverNameFailsWhenTheOutputOpens) {
    const Environment driver("SDL_AUDIODRIVER", "no-such-driver");
    const auto engine = device::CreateAudioDevice(nullptr);
    ASSERT_NE(engine, nullptr);

    EXPECT_EQ(engine->CreateMasteringVoice(2, RATE), nullptr);
}

TEST(SdlOutput, ADeviceThatCannotBeOpenedFailsWhenTheOutputOpens) {
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

TEST(SdlOutput, TheSignalHandlersOfAHostStay) {
    const Environment driver("SDL_AUDIODRIVER", "dummy");
    for (const sighandler_t ofHost : {SIG_DFL, SIG_IGN}) {
        for (const int number : {SIGINT, SIGTERM}) {
            const sighandler_t before = signal(number, ofHost);
            {
                Listener listener;
                const OpenDevice open(nullptr, RATE, listener);
                ASSERT_NE(open.voice, nullptr);

                struct sigaction action = {};
                sigaction(number, nullptr, &action);
                EXPECT_EQ(action.sa_handler, ofHost) << "signal " << number;
            }
            signal(number, before);
        }
    }
}

TEST(SdlPeriod, IsTheSmallestPowerOfTwoThatLastsAtLeastTheBuffer) {
    EXPECT_EQ(device::SdlPeriod(8000, 40), 512);
    EXPECT_EQ(device::SdlPeriod(44100, 40), 2048);
    EXPECT_EQ(device::SdlPeriod(48000, 40), 2048);
    EXPECT_EQ(device::SdlPeriod(96000, 40), 4096);
    EXPECT_EQ(device::SdlPeriod(48000, 5), 256);
    EXPECT_EQ(device::SdlPeriod(8000, 8), 64) << "exactly a power of two is not rounded up";
    EXPECT_EQ(device::SdlPeriod(8000, 9), 128);
}

TEST(SdlPeriod, IsAtMostTheMaximumOfTheLibrary) {
    EXPECT_EQ(device::SdlPeriod(48000, 500), 32768);
    EXPECT_EQ(device::SdlPeriod(96000, 500), 32768) << "65536 does not fit into 16 bits";
}

/// A sound library that opens nothing and keeps the requested period.
int askedPeriod = 0;

SDL_AudioDeviceID KeepPeriod(const char*, int, const SDL_AudioSpec* wanted, SDL_AudioSpec*, int) {
    askedPeriod = wanted->samples;
    return 0;
}

TEST(SdlOutput, RequestsThePeriodOfItsBuffer) {
    const auto library = std::make_shared<device::SdlLibrary>();
    library->initSubSystem = [](Uint32) { return 0; };
    library->quitSubSystem = [](Uint32) {};
    library->openAudioDevice = KeepPeriod;

    EXPECT_FALSE(device::SdlOutput(library, 40).Open(RATE, nullptr));
    EXPECT_EQ(askedPeriod, 2048);
    EXPECT_FALSE(device::SdlOutput(library, 500).Open(96000, nullptr));
    EXPECT_EQ(askedPeriod, 32768);
}

/// Restores the default buffer at the end of a test.
class AudioBufferSetting : public testing::Test {
protected:
    ~AudioBufferSetting() override { orlo::sonrel::SetAudioBufferMilliseconds(0); }

    /// The bytes that a new engine writes to the file of the disk driver: whole periods.
    std::uintmax_t BytesOfANewEngine() {
        const std::filesystem::path path = folder_ / "sound.raw";
        const Environment driver("SDL_AUDIODRIVER", "disk");
        const Environment file("SDL_DISKAUDIOFILE", path.string());
        const auto engine = orlo::sonrel::MakeAudioDevice();
        auto open = engine->CreateMasteringVoice(2, 96000);
        const auto deadline = std::chrono::steady_clock::now() + TIMEOUT;
        while (std::filesystem::file_size(path) == 0 &&
               std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
        open.reset();
        return std::filesystem::file_size(path);
    }

    const TemporaryFolder folder_;
};

TEST_F(AudioBufferSetting, AppliesToTheEnginesThatAreMadeAfterwards) {
    constexpr std::uintmax_t BYTES = 32768 * 4;

    ASSERT_TRUE(orlo::sonrel::SetAudioBufferMilliseconds(341));
    const std::uintmax_t longBuffer = BytesOfANewEngine();
    ASSERT_TRUE(orlo::sonrel::SetAudioBufferMilliseconds(0));
    const std::uintmax_t defaultBuffer = BytesOfANewEngine();

    EXPECT_GT(longBuffer, 0u);
    EXPECT_EQ(longBuffer % BYTES, 0u);
    EXPECT_NE(defaultBuffer % BYTES, 0u);
}

TEST_F(AudioBufferSetting, AnEngineWithTheLongestBufferOpensAgain) {
    const Environment driver("SDL_AUDIODRIVER", "dummy");
    ASSERT_TRUE(orlo::sonrel::SetAudioBufferMilliseconds(500));
    const auto engine = orlo::sonrel::MakeAudioDevice();
    auto open = engine->CreateMasteringVoice(2, 22050);
    ASSERT_NE(open, nullptr);

    // The library plays two periods of 0.74 seconds before it closes.
    open.reset();

    EXPECT_NE(engine->CreateMasteringVoice(2, 22050), nullptr);
}

TEST_F(AudioBufferSetting, Accepts5To500MillisecondsAndZeroForTheDefault) {
    for (const int taken : {0, 5, 500}) {
        EXPECT_TRUE(orlo::sonrel::SetAudioBufferMilliseconds(taken)) << taken;
    }
    for (const int refused : {-1, 1, 4, 501}) {
        EXPECT_FALSE(orlo::sonrel::SetAudioBufferMilliseconds(refused)) << refused;
    }
}

}  // namespace
