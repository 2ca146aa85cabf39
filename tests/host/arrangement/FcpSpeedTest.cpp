// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host::otio {
namespace {

using sonrel_tests::Clip;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::OnlyClip;
using sonrel_tests::Reported;
using sonrel_tests::Timeline;
using sonrel_tests::Track;

Json FcpParameter(const std::string& id, const Json& value) {
    return {{"parameterid", id}, {"name", id}, {"value", value}};
}

/// A point of the graph: a frame of the retimed clip and the frame of the media that it shows.
Json GraphKey(int when, double frame) {
    return {{"when", std::to_string(when)}, {"value", std::to_string(frame)}};
}

Json Graph(std::vector<Json> keys) {
    return {{"parameterid", "graphdict"}, {"keyframe", Json(std::move(keys))}};
}

Json FcpEffect(const std::string& id, const Json& parameters) {
    return {{"OTIO_SCHEMA", "Effect.1"},
            {"effect_name", "Time Remap"},
            {"metadata", {{"fcp_xml", {{"effectid", id}, {"parameter", parameters}}}}}};
}

/// A clip of 50 frames from frame 40 of the retimed clip on, whose media begins at frame 10.
Json RemappedClip(const Json& parameters) {
    Json clip = Clip("a", 50, 50);
    clip["media_reference"]["available_range"] = sonrel_tests::Range(10, 500, 25);
    clip["effects"] = Json::array({FcpEffect("timeremap", parameters)});
    return clip;
}

TimelineImport ImportRemapped(const Json& parameters) {
    return Import(Timeline({Track({RemappedClip(parameters)})}));
}

// Frame 40 of a clip at half speed shows frame 20 of the media. The in-point is divided by the
// speed: 20 / 0.5.
TEST(FcpSpeed, AConstantSpeedIsTheSpeedAndItsGraphHasTheInPoint) {
    const TimelineImport import = ImportRemapped(
        {FcpParameter("variablespeed", "0"), FcpParameter("speed", "50"),
         FcpParameter("reverse", "FALSE"), Graph({GraphKey(0, 0), GraphKey(400, 200)})});

    EXPECT_EQ(OnlyClip(import).speed, 0.5);
    EXPECT_EQ(OnlyClip(import).sourceStartFrame, 40);
    EXPECT_EQ(OnlyClip(import).endFrame, 50);
    EXPECT_FALSE(OnlyClip(import).muted);
    EXPECT_TRUE(import.report.Entries().empty());
}

// Frame 40 of the clip shows frame 100 of the media: 30 + 2 * (40 - 5).
TEST(FcpSpeed, AGraphNeedNotBeginWithTheMedia) {
    const TimelineImport import = ImportRemapped(
        {FcpParameter("speed", "200"), Graph({GraphKey(5, 30), GraphKey(105, 230)})});

    EXPECT_EQ(OnlyClip(import).speed, 2.0);
    EXPECT_EQ(OnlyClip(import).sourceStartFrame, 50);
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(FcpSpeed, WithoutAGraphTheInPointIsAGuess) {
    const TimelineImport import = ImportRemapped(FcpParameter("speed", 50));
    Json whole = RemappedClip(FcpParameter("speed", 50));
    whole["source_range"] = sonrel_tests::Range(10, 50, 25);

    EXPECT_EQ(OnlyClip(import).speed, 0.5);
    EXPECT_EQ(OnlyClip(import).sourceStartFrame, 40);
    EXPECT_EQ(Reported(import, "speed", "as a guess"), 1);
    // The first frame is the first frame at every speed.
    EXPECT_TRUE(Import(Timeline({Track({whole})})).report.Entries().empty());
}

TEST(FcpSpeed, ASpeedThatChangesOrIsReversedIsMutedAndListed) {
    const Json variable = {FcpParameter("variablespeed", "1"), FcpParameter("speed", "100")};
    const Json bent = {FcpParameter("speed", "100"),
                       Graph({GraphKey(0, 0), GraphKey(50, 50), GraphKey(100, 60)})};
    const Json backward = {FcpParameter("speed", "100"), FcpParameter("reverse", "TRUE")};
    for (const auto& [parameters, reason] :
         {std::pair(variable, "a speed that changes"), std::pair(bent, "a speed that changes"),
          std::pair(backward, "reversed sound"),
          std::pair(FcpParameter("speed", "-100"), "reversed sound"),
          std::pair(FcpParameter("speed", "0"), "a freeze frame"),
          std::pair(FcpParameter("speed", "fast"), "without a usable speed")}) {
        const TimelineImport import = ImportRemapped(parameters);
        EXPECT_TRUE(OnlyClip(import).muted) << parameters;
        EXPECT_EQ(Reported(import, "clip", reason), 1) << parameters;
    }
}

TEST(FcpSpeed, KeyFramesCountFramesOfTheRetimedClip) {
    Json clip = RemappedClip({FcpParameter("speed", "50"), Graph({GraphKey(0, 0)})});
    const Json keys = {
        {"parameterid", "level"},
        {"keyframe", {{{"when", "40"}, {"value", "1"}}, {{"when", "65"}, {"value", "0.95"}}}}};
    clip["effects"].push_back(FcpEffect("audiolevels", keys));

    const auto level = OnlyClip(Import(Timeline({Track({clip})}))).level;

    // The clip begins with its frame 40, and 25 frames are a second.
    ASSERT_EQ(level.keys.size(), 2u);
    EXPECT_EQ(level.keys.at(0).timeMs, 0);
    EXPECT_EQ(level.keys.at(1).timeMs, 1000);
}

}  // namespace
}  // namespace orlo::host::otio
