// SPDX-License-Identifier: MIT
// The offsets and the drift that align finds.
#include <gtest/gtest.h>

#include "tests/host/align/AlignRig.h"

namespace sonrel_tests {
namespace {

// ---- The offset

TEST_F(AlignProgram, TheOffsetIsExactAlthoughTheOffsetOfTheEngineIsNot) {
    const Sound talk = Talk(14, 1);

    const nlohmann::json result =
        Align(With(Hiss(16, 2), talk, 1.5), With(Hiss(30, 3), talk, 9.0, 321));

    constexpr int OFFSET = 12000 - 72321;
    EXPECT_EQ(result.at("offset"), OFFSET);
    EXPECT_EQ(result.at("refined").at("offset"), OFFSET);
    EXPECT_EQ(result.at("engine").at("offset"), OFFSET + 2);
    EXPECT_EQ(result.at("seconds"), OFFSET / 8000.0);
    EXPECT_EQ(result.at("rate"), 8000);
    EXPECT_EQ(result.at("verdict"), "aligned");
    EXPECT_EQ(result.at("way"), "search");
    EXPECT_GT(result.at("refined").at("correlation"), 0.95);
}

TEST_F(AlignProgram, ExchangedRecordingsHaveTheNegativeOffset) {
    const Sound talk = Talk(14, 1);

    const nlohmann::json result =
        Align(With(Hiss(30, 3), talk, 9.0, 321), With(Hiss(16, 2), talk, 1.5));

    EXPECT_EQ(result.at("offset"), 72321 - 12000);
}

TEST_F(AlignProgram, TheTextNamesTheRecordingThatStartsLater) {
    const Sound talk = Talk(6, 1);
    Write("a.wav", With(Hiss(8, 2), talk, 2.0));
    Write("b.wav", With(Hiss(7, 3), talk, 0.5));

    const ProgramResult forth = Run({"@a.wav", "@b.wav"});
    const ProgramResult back = Run({"@b.wav", "@a.wav"});
    const ProgramResult same = Run({"@a.wav", "@a.wav"});

    EXPECT_NE(forth.out.find("b.wav' starts 1.5 s (00:00:01:12, 12000 sample frames) after"),
              std::string::npos)
        << forth.out;
    EXPECT_NE(back.out.find("a.wav' starts 1.5 s (00:00:01:12, 12000 sample frames) before"),
              std::string::npos)
        << back.out;
    EXPECT_NE(same.out.find("start together"), std::string::npos) << same.out;
    EXPECT_EQ(forth.exitCode, 0);
}

TEST_F(AlignProgram, ShortRecordingsAreComparedWhole) {
    const Sound talk = Talk(3, 1);

    const nlohmann::json result = Align(With(Hiss(4, 2), talk, 0.5), With(Hiss(4, 3), talk, 0.75));

    EXPECT_EQ(result.at("engine").at("offset"), -2000);
    EXPECT_EQ(result.at("offset"), -2000);
}

TEST_F(AlignProgram, SeveralRecordingsAreAllAlignedWithTheFirst) {
    const Sound talk = Talk(6, 1);
    Write("a.wav", With(Hiss(8, 2), talk, 1.0));
    Write("b.wav", With(Hiss(8, 3), talk, 1.5));
    Write("c.wav", With(Hiss(8, 4), talk, 0.5));

    const nlohmann::json results =
        Run({"@a.wav", "@b.wav", "@c.wav", "--json"}).Json().at("results");

    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results.at(0).at("offset"), -4000);
    EXPECT_EQ(results.at(1).at("offset"), 4000);
    EXPECT_EQ(results.at(1).at("a"), results.at(0).at("a"));
}

// ---- Hard cases

TEST_F(AlignProgram, ALoopIsAlignedWithItsBeginning) {
    const Sound music = Repeated(Talk(2, 5), 8);

    const nlohmann::json result =
        Align(With(Hiss(24, 6), music, 3.0), With(Hiss(30, 7), music, 7.0, 123));

    EXPECT_EQ(result.at("offset"), 24000 - 56123);
    EXPECT_NE(result.at("engine").at("offset"), 24000 - 56123 + 2);
}

TEST_F(AlignProgram, AnOverlapWithoutTheLoudestSecondIsFound) {
    const Sound talk = Talk(10, 9);
    const Sound a = With(With(Hiss(30, 8), talk, 20.0), Louder(Talk(5, 10), 2.0), 3.0);

    const nlohmann::json result = Align(a, With(Hiss(40, 11), talk, 0.0));

    EXPECT_EQ(result.at("offset"), 160000);
    EXPECT_EQ(result.at("verdict"), "aligned");
    EXPECT_NE(result.at("way"), "search");
}

TEST_F(AlignProgram, AShortEventInTheTailIsFound) {
    const Sound word = Talk(0.6, 12);

    const nlohmann::json result =
        Align(With(Hiss(10, 13), word, 4.0), With(Hiss(30.7, 14), word, 30.05));

    EXPECT_EQ(result.at("offset"), 32000 - 240400);
    EXPECT_EQ(result.at("verdict"), "aligned");
}

TEST_F(AlignProgram, AnEventAcrossTheEdgeOfTwoBlocksIsFound) {
    // Blocks of two seconds: the event is at the edge at 16 s.
    const Sound word = Talk(1.0, 15);

    const nlohmann::json result =
        Align(With(Hiss(8, 16), word, 3.0), With(Hiss(30, 17), word, 15.5, 7));

    EXPECT_EQ(result.at("offset"), 24000 - 124007);
    EXPECT_EQ(result.at("verdict"), "aligned");
}

TEST_F(AlignProgram, AnOverlapOfOnePartInTwentyIsFound) {
    const Sound talk = Talk(2, 18);

    const nlohmann::json result = Align(With(With(Hiss(40, 19), Talk(20, 20), 10.0), talk, 38.0),
                                        With(With(Hiss(40, 21), Talk(20, 22), 10.0), talk, 0.0));

    EXPECT_EQ(result.at("offset"), 38 * RATE);
    EXPECT_EQ(result.at("verdict"), "aligned");
}

// ---- Drift

/// The same sound on a clock that counts more frames.
Sound OnFastClock(const Sound& sound, double ppm) {
    Sound result;
    const double step = 1.0 / (1.0 + ppm * 1e-6);
    for (double at = 0.0; at + 1.0 < static_cast<double>(sound.size()); at += step) {
        const auto index = static_cast<std::size_t>(at);
        const double part = at - static_cast<double>(index);
        result.push_back(sound[index] * (1.0 - part) + sound[index + 1] * part);
    }
    return result;
}

TEST_F(AlignProgram, ClocksThatDriftAreMeasuredAndNoOffsetFits) {
    const Sound talk = Talk(80, 23);

    const nlohmann::json result =
        Align(With(Hiss(84, 24), OnFastClock(talk, 200.0), 1.0), With(Hiss(84, 25), talk, 2.0));

    EXPECT_NEAR(result.at("drift").at("ppm").get<double>(), 200.0, 10.0);
    EXPECT_LT(result.at("drift").at("residual").get<double>(), 2.0);
    EXPECT_EQ(result.at("oneOffsetFits"), false);
}

TEST_F(AlignProgram, ClocksThatAgreeHaveNoDrift) {
    const Sound talk = Talk(40, 23);

    const nlohmann::json result =
        Align(With(Hiss(44, 24), talk, 1.0), With(Hiss(44, 25), talk, 2.0));

    EXPECT_EQ(result.at("drift").at("ppm"), 0.0);
    EXPECT_EQ(result.at("drift").at("residual"), 0.0);
    EXPECT_EQ(result.at("oneOffsetFits"), true);
}

TEST_F(AlignProgram, AShortOverlapHasNoDrift) {
    const Sound talk = Talk(10, 23);

    EXPECT_TRUE(
        Align(With(Hiss(12, 24), talk, 1.0), With(Hiss(12, 25), talk, 1.5)).at("drift").is_null());
}

}  // namespace
}  // namespace sonrel_tests
