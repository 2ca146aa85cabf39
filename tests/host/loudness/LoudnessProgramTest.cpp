// SPDX-License-Identifier: MIT
// A stereo tone of 997 Hz with the amplitude A in both channels has a loudness of 20 * log10(A)
// LUFS, and its true peak is A.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

constexpr int TONE_RATE = 48000;
constexpr int TONE_SECONDS = 4;

/// A stereo WAV of four seconds.
std::string ToneWav(double amplitude) {
    std::string data;
    for (int i = 0; i < TONE_SECONDS * TONE_RATE; ++i) {
        const double value =
            32768.0 * amplitude * std::sin(2.0 * std::numbers::pi * 997.0 * i / TONE_RATE);
        const auto sample = static_cast<std::int16_t>(std::lround(value));
        data += Little(static_cast<std::uint16_t>(sample), 2);
        data += Little(static_cast<std::uint16_t>(sample), 2);
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 2, TONE_RATE, 16)) + Chunk("data", data));
}

class LoudnessProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("a.wav"), ToneWav(0.1));
        WriteFile(shop_.Work("silence.wav"), ToneWav(0.0));
        WriteFile(shop_.Work("edit.otio"),
                  WithOurs(Timeline({Track({Clip("a.wav", 0, 25 * TONE_SECONDS)})}),
                           {{"masterLevel", -6.0}})
                      .dump());
    }

    ProgramResult Measure(const std::vector<std::string>& more) {
        std::vector<std::string> arguments{"loudness", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    Workshop shop_;
};

TEST_F(LoudnessProgram, AMediaFileHasAllResults) {
    const ProgramResult result = Measure({"@a.wav"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    const nlohmann::json file = result.Json()["files"].at(0);
    EXPECT_EQ(file.size(), 6u);
    EXPECT_EQ(file["input"], shop_.Work("a.wav").string());
    EXPECT_NEAR(file["integrated"], -20.0, 0.1);
    EXPECT_NEAR(file["momentaryMax"], -20.0, 0.1);
    EXPECT_NEAR(file["shortTermMax"], -20.0, 0.1);
    EXPECT_NEAR(file["truePeak"], -20.0, 0.1);
    EXPECT_NEAR(file["range"], 0.0, 0.1);
}

TEST_F(LoudnessProgram, ATimelineMeasuresExactlyLikeItsMix) {
    const ProgramResult result = Measure({"@edit.otio"});
    const ProgramResult mix = shop_.Run({"mix", "@edit.otio", "-o", "@out.wav", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    ASSERT_EQ(mix.exitCode, 0) << mix.err;
    const nlohmann::json file = result.Json()["files"].at(0);
    EXPECT_EQ(file["integrated"], mix.Json()["loudness"]["integrated"]);
    EXPECT_EQ(file["truePeak"], mix.Json()["loudness"]["truePeak"]);
    EXPECT_NEAR(file["integrated"], -26.0, 0.1);
}

TEST_F(LoudnessProgram, ATimelineWithDuckingMeasuresExactlyLikeItsMix) {
    const Json duck = {{"by", "Voice"}, {"parameters", {{"depthDb", -30}}}};
    WriteFile(shop_.Work("duck.otio"),
              Timeline({WithOurs(Track({Clip("a.wav", 0, 50)}, "Music"), {{"duck", duck}}),
                        Track({WithOurs(Clip("a.wav", 0, 50), {{"audioLevel", -10}})}, "Voice")})
                  .dump());

    const ProgramResult mix = shop_.Run({"mix", "@duck.otio", "-o", "@duck.wav", "--json"});

    ASSERT_EQ(mix.exitCode, 0) << mix.err;
    EXPECT_EQ(Measure({"@duck.otio"}).Json()["files"].at(0)["integrated"],
              mix.Json()["loudness"]["integrated"]);
}

TEST_F(LoudnessProgram, SilenceIsNull) {
    const nlohmann::json file = Measure({"@silence.wav"}).Json()["files"].at(0);

    for (const char* key : {"integrated", "range", "momentaryMax", "shortTermMax", "truePeak"}) {
        EXPECT_TRUE(file.at(key).is_null()) << key;
    }
}

TEST_F(LoudnessProgram, ALoudnessOutsideTheToleranceOfTheTargetIsExit3) {
    EXPECT_EQ(Measure({"@a.wav", "--target", "-20.8"}).exitCode, 0);
    EXPECT_EQ(Measure({"@a.wav", "--target", "-22", "--tolerance", "3"}).exitCode, 0);

    const ProgramResult outside = Measure({"@a.wav", "@edit.otio", "--target", "-20.8"});
    EXPECT_EQ(outside.exitCode, 3);
    EXPECT_TRUE(outside.HasOneErrorLine()) << outside.err;
    EXPECT_NE(outside.err.find("edit.otio"), std::string::npos);
    EXPECT_EQ(outside.Json()["files"].size(), 2u);
    EXPECT_EQ(Measure({"@silence.wav", "--target", "-23", "--tolerance", "70"}).exitCode, 3);
}

TEST_F(LoudnessProgram, ABadInputIsAResultWithAnErrorAndTheOthersAreMeasured) {
    WriteFile(shop_.Work("broken.wav"), "no sound");
    const ProgramResult result = Measure({"@broken.wav", "@a.wav", "@gone.wav"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("2 of 3 inputs"), std::string::npos) << result.err;
    const nlohmann::json files = result.Json()["files"];
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files[0].size(), 2u);
    EXPECT_NE(files[0]["error"].get<std::string>().find("broken.wav"), std::string::npos);
    EXPECT_NEAR(files[1]["integrated"], -20.0, 0.1);
    EXPECT_EQ(files[2].size(), 2u);
}

TEST_F(LoudnessProgram, MissingMediaOfATimelineAreExit3UnlessTheyAreAllowed) {
    std::filesystem::remove(shop_.Work("a.wav"));

    EXPECT_EQ(Measure({"@edit.otio"}).exitCode, 3);
    const ProgramResult allowed = Measure({"@edit.otio", "--allow-missing"});
    EXPECT_EQ(allowed.exitCode, 0) << allowed.err;
    EXPECT_TRUE(allowed.Json()["files"].at(0)["integrated"].is_null());
    EXPECT_EQ(allowed.Json()["notTakenOver"].at(0)["input"], shop_.Work("edit.otio").string());
}

TEST_F(LoudnessProgram, TheTextHasAllResults) {
    const ProgramResult result = shop_.Run({"loudness", "@a.wav"});

    EXPECT_NE(result.out.find("a.wav: loudness -20 LUFS, range 0 LU\n"
                              "  momentary up to -20 LUFS, short-term up to -20 LUFS, true peak "
                              "-20 dBTP\n"),
              std::string::npos)
        << result.out;
}

TEST_F(LoudnessProgram, AToleranceWithoutATargetAndLimitsAreWrongUsage) {
    for (const std::vector<std::string>& more : {std::vector<std::string>{"--tolerance", "1"},
                                                 {"--target", "-70.1"},
                                                 {"--target", "0.1"},
                                                 {"--target", "-23", "--tolerance", "-0.1"}}) {
        std::vector<std::string> arguments{"@a.wav"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProgramResult result = Measure(arguments);
        EXPECT_EQ(result.exitCode, 2) << more.back();
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
}

TEST_F(LoudnessProgram, TheMetersOfAMixHaveTheLoudnessAfterEachBlock) {
    const ProgramResult mix =
        shop_.Run({"mix", "@edit.otio", "-o", "@out.wav", "--meters", "@meters.json"});
    ASSERT_EQ(mix.exitCode, 0) << mix.err;

    const auto document = nlohmann::json::parse(ReadFile(shop_.Work("meters.json")));
    const nlohmann::json& momentary = document["loudness"]["momentary"];
    const nlohmann::json& shortTerm = document["loudness"]["shortTerm"];
    ASSERT_EQ(momentary.size(), document["master"]["blocks"].size());
    ASSERT_EQ(shortTerm.size(), 40u);
    EXPECT_TRUE(momentary[2].is_null());
    EXPECT_NEAR(momentary[3], -26.0, 0.2);
    EXPECT_TRUE(shortTerm[28].is_null());
    EXPECT_NEAR(shortTerm[29], -26.0, 0.2);
}

}  // namespace
}  // namespace sonrel_tests
