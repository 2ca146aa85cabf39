// SPDX-License-Identifier: MIT
// Peak files of 3200 Hz: 100 blocks a second.
#include "host/report/ClipWaves.h"

#include <gtest/gtest.h>

#include "host/shell/Errors.h"
#include "tests/waveform/WaveformFixture.h"

namespace sonrel_tests {
namespace {

using orlo::host::PeakSound;
using Values = std::vector<signed char>;

/// A file of one second: block i of both channels from -i to i, the right channel at half height.
class ClipWaves : public testing::Test {
protected:
    ClipWaves() {
        std::vector<PeakBlock> blocks;
        for (int i = 0; i < 100; ++i) blocks.push_back({0, {{-i, i / 2}, {-i / 2, i}}});
        WriteFile(folder_ / "a.xwpk", PeakBytes(2, blocks));
        sound_ = {(folder_ / "a.xwpk").string(), 3200};
    }

    TemporaryFolder folder_;
    PeakSound sound_;
};

TEST_F(ClipWaves, APointHasTheLargestValuesOfAllChannelsInItsPart) {
    const orlo::host::Envelope wave = ReadEnvelope(sound_, 0.0, 1.0, 4);

    EXPECT_EQ(wave.high, (Values{24, 49, 74, 99}));
    EXPECT_EQ(wave.low, (Values{-24, -49, -74, -99}));
}

TEST_F(ClipWaves, APartOfASoundHasItsOwnBlocks) {
    EXPECT_EQ(ReadEnvelope(sound_, 0.5, 0.7, 2).high, (Values{59, 69}));
}

TEST_F(ClipWaves, IsSilentOutsideTheMedia) {
    EXPECT_EQ(ReadEnvelope(sound_, -1.0, 2.0, 3).high, (Values{0, 99, 0}));
    EXPECT_EQ(ReadEnvelope(sound_, 5.0, 6.0, 2).high, (Values{0, 0}));
}

TEST_F(ClipWaves, APointHasAtLeastABlock) {
    EXPECT_EQ(ReadEnvelope(sound_, 0.9, 0.93, 1000).high, (Values{90, 91, 92}));
    EXPECT_EQ(ReadEnvelope(sound_, 0.905, 0.906, 1000).high.size(), 1u);
}

TEST_F(ClipWaves, ADamagedFileIsRefusedByName) {
    WriteFile(folder_ / "a.xwpk", "no peaks");

    EXPECT_THROW(ReadEnvelope(sound_, 0.0, 1.0, 4), orlo::host::JobError);
}

TEST_F(ClipWaves, AllClipsOfAPageShareItsPointsByTheirLength) {
    using orlo::host::otio::PlacedClip;
    PlacedClip placed;
    placed.media.path = "/a.wav";
    placed.endFrame = 25;
    orlo::host::PageLane lane;
    // 20000 s of clips: 160000 points are 8 a second.
    for (const double seconds : {1.0, 2.0, 19997.0}) {
        orlo::host::PageClip& clip = lane.clips.emplace_back();
        clip.end = seconds;
        clip.placed = &placed;
    }
    std::vector<orlo::host::PageLane> lanes{lane};

    AddWaves({{{"/a.wav", {}}, sound_}}, 25.0, lanes);

    EXPECT_EQ(lanes[0].clips[0].wave.high.size(), 8u);
    EXPECT_EQ(lanes[0].clips[1].wave.high.size(), 16u);
    EXPECT_EQ(lanes[0].clips[2].wave.high.size(), 100u);
}

TEST_F(ClipWaves, AClipWithoutAPeakFileHasNoWaveform) {
    orlo::host::otio::PlacedClip placed;
    placed.endFrame = 25;
    orlo::host::PageLane lane;
    lane.clips.emplace_back().placed = &placed;
    std::vector<orlo::host::PageLane> lanes{lane};

    AddWaves({{{"/a.wav", {}}, sound_}}, 25.0, lanes);

    EXPECT_TRUE(lanes[0].clips[0].wave.high.empty());
}

}  // namespace
}  // namespace sonrel_tests
