// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/host/arrangement/ImportRig.h"

namespace sonrel_tests {
namespace {

/// A timeline of one clip at a frame rate.
Json Edit(double fps) {
    return Timeline({Track({Clip("a.wav", 0, 50, fps)})});
}

TEST(StartTimecode, GlobalStartTimeIsTheFrameNumberOfTheFirstFrame) {
    Json document = Edit(25);
    document["global_start_time"] = Time(90000, 25);

    const auto import = Import(document);

    EXPECT_EQ(import.arrangement.startFrame, 90000);
    EXPECT_EQ(import.arrangement.tracks.at(0).clips.at(0).startFrame, 0);
    EXPECT_EQ(import.report.Entries().size(), 0u);
}

TEST(StartTimecode, TheTimeIsConvertedToTheFrameRateOfTheTimeline) {
    Json document = WithOurs(Edit(50), {{"frameRate", 50}});
    document["global_start_time"] = Time(86400, 24);

    EXPECT_EQ(Import(document).arrangement.startFrame, 180000);
}

TEST(StartTimecode, ATimeThatIsNotUsableIsReportedAndCountsAs0) {
    const std::vector<Json> bad{Time(-25, 25),
                                Time(25, 0),
                                Time(2160000, 25),
                                Time(1e300, 25),
                                "01:00:00:00",
                                Json::array({1, 2}),
                                {{"value", "x"}, {"rate", 25}}};
    for (const Json& start : bad) {
        Json document = Edit(25);
        document["global_start_time"] = start;

        const auto import = Import(document);

        EXPECT_EQ(import.arrangement.startFrame, 0) << start;
        EXPECT_EQ(Reported(import, "global_start_time", "timecodes count from 0"), 1) << start;
    }
}

TEST(StartTimecode, ADropFrameTimecodeInTheMetadataOfTheTimelineMakesTimecodesDropFrame) {
    Json document = Edit(30000.0 / 1001.0);
    EXPECT_FALSE(Import(document).arrangement.dropFrame);
    document["metadata"]["editor"] = {{"markers", {"x", "01:00:00:00"}}};
    EXPECT_FALSE(Import(document).arrangement.dropFrame);

    document["metadata"]["editor"] = {{"start", {{"string", "01:00:00;00"}}}};
    EXPECT_TRUE(Import(document).arrangement.dropFrame);
    document["metadata"]["editor"] = {{"timecode", {{"displayformat", "DF"}}}};
    EXPECT_TRUE(Import(document).arrangement.dropFrame);
}

TEST(StartTimecode, ADropFrameTimecodeInTheMetadataOfTheStackCountsToo) {
    Json document = Edit(30000.0 / 1001.0);
    document["tracks"]["metadata"] = {{"tc", "00:00:00;00"}};

    EXPECT_TRUE(Import(document).arrangement.dropFrame);
}

TEST(StartTimecode, AtRatesWithoutDropFrameItIsIgnored) {
    Json document = Edit(25);
    document["metadata"]["editor"] = {{"start", "01:00:00;00"}};

    EXPECT_FALSE(Import(document).arrangement.dropFrame);
}

}  // namespace
}  // namespace sonrel_tests
