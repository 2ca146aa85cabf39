// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/playback/VirtualRig.h"

namespace sonrel_tests {
namespace {

/// An output that pulls nothing and whose device can be lost.
class LosableOutput : public sonrel::AudioOutput {
public:
    bool lost = false;

    bool Open(int, std::shared_ptr<sonrel::AudioOutputSource>) override { return true; }
    void Close() override {}
    bool IsLost() const override { return lost; }
};

TEST(PlaybackOutputState, IsEmptyBeforeASetUp) {
    VirtualRig rig;

    EXPECT_FALSE(rig.Playback().OutputState().lost);
    EXPECT_EQ(rig.Playback().OutputState().framesPulled, 0);
}

TEST(PlaybackOutputState, CountsThePulledFramesIncludingSilence) {
    VirtualRig rig({}, Clock::Stepped);
    ASSERT_EQ(rig.SetUpSequence(), Err::NoError);

    rig.output->Advance(100);
    rig.output->Advance(28);

    EXPECT_EQ(rig.Playback().OutputState().framesPulled, 128);
}

TEST(PlaybackOutputState, TheCountIsConstantWhileTheDeviceStalls) {
    VirtualRig rig({}, Clock::Stepped);
    ASSERT_EQ(rig.SetUpSequence(), Err::NoError);
    rig.output->Advance(100);

    rig.device->Stall(true);
    rig.output->Advance(100);

    EXPECT_EQ(rig.Playback().OutputState().framesPulled, 100);
}

TEST(PlaybackOutputState, ReportsALostDevice) {
    VirtualRig rig;
    const auto output = std::make_shared<LosableOutput>();
    sonrel::SetAudioOutputFactory([output] { return output; });
    rig.MakePlayback();
    ASSERT_EQ(rig.SetUpSequence(), Err::NoError);
    EXPECT_FALSE(rig.Playback().OutputState().lost);

    output->lost = true;

    EXPECT_TRUE(rig.Playback().OutputState().lost);
}

}  // namespace
}  // namespace sonrel_tests
