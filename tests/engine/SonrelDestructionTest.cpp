// SPDX-License-Identifier: MIT
// The order in which the engine object releases its members.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "sonrel/cache/LogFile.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/engine/detail/SonrelImpl.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/detail/DeviceFactory.h"
#include "sonrel/playback/device/AudioDevice.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/fakes/FakeMediaDB.h"

namespace {

using orlo::sonrel::AudioMixer;
using orlo::sonrel::PlaybackEngine;
using orlo::sonrel::Sonrel;
using sonrel_tests::FakeMediaDB;
using sonrel_tests::TemporaryFolder;
using testing::Contains;

namespace device = orlo::sonrel::device;

/// A device without voices that reports its end.
class EndingDevice : public device::AudioDevice {
public:
    explicit EndingDevice(std::function<void()> onEnd) : onEnd_(std::move(onEnd)) {}
    ~EndingDevice() override { onEnd_(); }
    bool InitThread() override { return true; }
    void UninitThread() override {}
    std::unique_ptr<device::MasteringVoice> CreateMasteringVoice(int, int) override {
        return nullptr;
    }
    std::unique_ptr<device::SourceVoice> CreateSourceVoice(device::MasteringVoice&,
                                                           const device::WaveFormat&,
                                                           device::VoiceEvents&) override {
        return nullptr;
    }

private:
    std::function<void()> onEnd_;
};

TEST(SonrelDestruction, ClearsTheCacheThenEndsPlaybackThenReleasesMixerAndLog) {
    const TemporaryFolder folder;
    FakeMediaDB::Instance().Reset();
    auto engine = Sonrel::Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr,
                                 Sonrel::LogOption::WriteErrorLog);
    const std::weak_ptr<AudioMixer> mixer = engine->Mixer();
    const std::weak_ptr<orlo::project::LogFile> log = engine->MediaCacheErrorLog();
    int ended = 0;
    orlo::sonrel::SetAudioDeviceMaker([&] {
        return std::make_unique<EndingDevice>([&] {
            ++ended;
            EXPECT_THAT(FakeMediaDB::Instance().Calls(), Contains("FindUnusedVFRCacheFiles 30"));
            EXPECT_FALSE(mixer.expired());
            EXPECT_FALSE(log.expired());
        });
    });
    ASSERT_EQ(engine->InitializePlaybackEngine(), PlaybackEngine::Err::NoError);

    engine.reset();

    EXPECT_EQ(ended, 1);
    EXPECT_TRUE(mixer.expired());
    EXPECT_TRUE(log.expired());
    orlo::sonrel::SetAudioDeviceMaker({});
}

// Members are released from the last to the first.
TEST(SonrelDestruction, ReleasesPlaybackThenTheMixerThenTheLogThenThePaths) {
    const orlo::sonrel::SonrelImpl record;
    const auto address = [](const auto& member) { return static_cast<const void*>(&member); };

    EXPECT_GT(address(record.playback), address(record.mixer));
    EXPECT_GT(address(record.mixer), address(record.mediaCacheErrorLog));
    EXPECT_GT(address(record.mediaCacheErrorLog), address(record.mediaCacheFolderPath));
    EXPECT_GT(address(record.mediaCacheErrorLog), address(record.mediaDatabasePath));
}

}  // namespace
