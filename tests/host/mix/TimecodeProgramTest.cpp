// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/host/NumberedSound.h"
#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"

namespace sonrel_tests {
namespace {

/// A timeline of 60 frames that starts at 01:00:00:00 and clips from frame 50 on.
class TimecodeProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("n.wav"), NumberedWave());
        Json document = Timeline(
            {Track({Clip("n.wav", 0, 50), WithOurs(Clip("n.wav", 80, 10), {{"audioLevel", 20}})})});
        document["global_start_time"] = Time(90000, 25);
        WriteFile(shop_.Work("edit.otio"), document.dump());
    }

    ProgramResult Mix(std::vector<std::string> more) {
        std::vector<std::string> arguments{"mix",    "@edit.otio", "-o",  "@out.wav",
                                           "--json", "--dither",   "none"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    int FirstFrame() const { return NumbersOfFrames(shop_.Work("out.wav")).at(0); }

    Workshop shop_;
};

TEST_F(TimecodeProgram, AMixBeginsAtTheTimecodeOfTheTimeline) {
    const ProgramResult result = Mix({"--from", "01:00:01:05", "--to", "01:00:01:15"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("samples"), 10 * NUMBERED_FRAME);
    EXPECT_EQ(FirstFrame(), 30);
    ASSERT_EQ(Mix({"--from", "30f"}).exitCode, 0);
    EXPECT_EQ(FirstFrame(), 30);
    ASSERT_EQ(Mix({"--from", "1.2"}).exitCode, 0);
    EXPECT_EQ(FirstFrame(), 30);
}

TEST_F(TimecodeProgram, ReportsPrintTheTimecodesOfTheTimeline) {
    const auto clip = Mix({}).Json().at("master").at("clips").at(0);

    EXPECT_EQ(clip.at("from"), "01:00:02:00");
    EXPECT_EQ(clip.at("fromSample"), 50 * NUMBERED_FRAME);
    const ProgramResult info = shop_.Run({"info", "@edit.otio", "--json"});
    EXPECT_EQ(info.Json().at("startTimecode"), "01:00:00:00");
}

TEST_F(TimecodeProgram, TheFrameRateOptionMakesTimecodesDropFrame) {
    const ProgramResult info = shop_.Run({"info", "@edit.otio", "--json", "--fps", "29.97df"});

    EXPECT_EQ(info.Json().at("startTimecode"), "01:00:00;00");
}

TEST_F(TimecodeProgram, ATimecodeBeforeTheStartIsWrongUsage) {
    for (const char* command : {"mix", "play"}) {
        const std::vector<std::string> output{command == std::string("mix") ? "-o" : "--output",
                                              "@new.wav"};
        const ProgramResult result =
            shop_.Run({command, "@edit.otio", output[0], output[1], "--from", "00:00:01:00"});
        EXPECT_EQ(result.exitCode, 2) << result.err;
        EXPECT_NE(result.err.find("before the start of the timeline, which is at 01:00:00:00"),
                  std::string::npos)
            << result.err;
    }
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("new.wav")));
}

TEST_F(TimecodeProgram, ANestedItemIsMixedFromTimecode0) {
    Json document = Timeline({Track({Named(Stack({Track({Clip("n.wav", 0, 50)})}), "scene")})});
    document["global_start_time"] = Time(90000, 25);
    WriteFile(shop_.Work("edit.otio"), document.dump());

    const ProgramResult result = Mix({"--composition", "scene", "--from", "00:00:01:05"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(FirstFrame(), 30);
}

}  // namespace
}  // namespace sonrel_tests
