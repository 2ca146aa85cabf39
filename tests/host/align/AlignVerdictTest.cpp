// SPDX-License-Identifier: MIT

// The verdicts of align.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/host/align/AlignRig.h"

namespace sonrel_tests {
namespace {

TEST_F(AlignProgram, UnrelatedRecordingsExit3WithTheReport) {
    Write("a.wav", With(Hiss(9, 1), Talk(8, 30), 0.5));
    Write("b.wav", With(Hiss(12, 2), Talk(8, 31), 2.0));

    const ProgramResult result = Run({"@a.wav", "@b.wav", "--json"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.Json().at("results").at(0).at("verdict"), "aligned");
    EXPECT_LT(result.Json().at("results").at(0).at("refined").at("correlation"), 0.3);
}

TEST_F(AlignProgram, MinCorrelationIsTheBoundOfTheVerdict) {
    const Sound talk = Talk(6, 1);
    Write("a.wav", With(Hiss(7, 2, 700.0), talk, 0.5));
    Write("b.wav", With(Hiss(7, 3, 700.0), talk, 0.5));
    const double correlation = Run({"@a.wav", "@b.wav", "--json"})
                                   .Json()
                                   .at("results")
                                   .at(0)
                                   .at("refined")
                                   .at("correlation");
    ASSERT_GT(correlation, 0.3);
    ASSERT_LT(correlation, 0.98);
    const auto exitCodeAt = [&](double bound) {
        return Run({"@a.wav", "@b.wav", "--min-correlation", std::to_string(bound)}).exitCode;
    };

    EXPECT_EQ(exitCodeAt(correlation - 0.01), 0);
    EXPECT_EQ(exitCodeAt(correlation + 0.01), 3);
}

/// A tone with an inaudible fade-in and fade-out.
Sound Tone(double seconds, double hertz) {
    Sound sound(static_cast<std::size_t>(seconds * RATE));
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double at = static_cast<double>(i) / RATE;
        sound[i] =
            8000.0 * std::sin(2.0 * 3.14159265 * hertz * at) * std::sin(3.14159265 * at / seconds);
    }
    return sound;
}

TEST_F(AlignProgram, SteadyTonesOfOnePitchAreNotAligned) {
    const nlohmann::json result =
        Align(With(Hiss(9, 1), Tone(6, 440), 1.0), With(Hiss(12, 2), Tone(8, 440), 3.0));

    EXPECT_GT(result.at("refined").at("correlation"), 0.9);
    EXPECT_EQ(result.at("verdict"), "uncertain");
}

TEST_F(AlignProgram, UnrelatedSoundsOfHalfASecondAreNotAligned) {
    std::vector<std::string> names{"@a.wav"};
    Write("a.wav", With(Hiss(10, 1), Talk(9, 2), 0.5));
    for (unsigned int seed = 100; seed < 120; ++seed) {
        names.push_back("@" + std::to_string(seed) + ".wav");
        Write(std::to_string(seed) + ".wav", Talk(0.5, seed));
    }
    names.push_back("--json");

    for (const nlohmann::json& result : Run(names).Json().at("results")) {
        EXPECT_NE(result.at("verdict"), "aligned") << result;
        EXPECT_LT(result.at("refined").at("correlation"), result.at("chance"));
    }
}

TEST_F(AlignProgram, TheErrorStatesTheCorrelationThatUnrelatedRecordingsReach) {
    Write("a.wav", With(Hiss(9, 1), Tone(6, 440), 1.0));
    Write("b.wav", With(Hiss(12, 2), Tone(8, 440), 3.0));

    const ProgramResult result = Run({"@a.wav", "@b.wav"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_NE(result.err.find("unrelated recordings reach 1 by chance in the compared range; "
                              "use recordings with a longer overlap"),
              std::string::npos)
        << result.err;
}

TEST_F(AlignProgram, AnOverlapOfThreeTenthsOfASecondIsFound) {
    const Sound word = Talk(0.3, 12);

    const nlohmann::json result = Align(With(With(Hiss(10, 3), Talk(9, 20), 0.2), word, 9.7),
                                        With(With(Hiss(10, 4), Talk(9, 22), 0.8), word, 0.0));

    EXPECT_EQ(result.at("offset"), 77600);
    EXPECT_EQ(result.at("verdict"), "aligned");
    EXPECT_LT(result.at("chance"), result.at("refined").at("correlation"));
}

TEST_F(AlignProgram, SilenceIsUnrelatedToEverything) {
    Write("a.wav", With(Hiss(9, 1), Talk(8, 30), 0.5));
    Write("b.wav", Sound(12 * RATE, 0.0));

    for (const auto& inputs : {std::vector<std::string>{"@a.wav", "@b.wav", "--json"},
                               {"@b.wav", "@a.wav", "--json"},
                               {"@b.wav", "@b.wav", "--json"}}) {
        const ProgramResult result = Run(inputs);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_EQ(result.Json().at("results").at(0).at("refined").at("correlation"), 0.0);
        EXPECT_EQ(result.Json().at("results").at(0).at("verdict"), "unrelated");
    }
}

TEST_F(AlignProgram, ARecordingOfLessThanASecondIsFound) {
    const Sound word = Talk(0.7, 40);

    const nlohmann::json result = Align(word, With(Hiss(12, 2), word, 6.25));

    EXPECT_EQ(result.at("offset"), -50000);
    EXPECT_EQ(result.at("verdict"), "aligned");
}

/// The middle of a word, loud from the first frame to the last.
Sound Syllable(std::size_t frames) {
    const Sound talk = Talk(4, 40);
    const auto loudest = std::max_element(talk.begin() + RATE, talk.end() - RATE);
    return Sound(loudest - RATE / 20, loudest - RATE / 20 + static_cast<std::ptrdiff_t>(frames));
}

TEST_F(AlignProgram, ARecordingOfOneSampleIsUnrelatedToEverything) {
    Write("one.wav", {12000.0});
    Write("talk.wav", Talk(6, 1));

    for (const auto& inputs : {std::vector<std::string>{"@one.wav", "@talk.wav", "--json"},
                               {"@talk.wav", "@one.wav", "--json"},
                               {"@one.wav", "@one.wav", "--json"}}) {
        const ProgramResult result = Run(inputs);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(
            result.err.find("one.wav' is too short to judge: it has 1 of the 800 sample frames"),
            std::string::npos)
            << result.err;
        const nlohmann::json pair = result.Json().at("results").at(0);
        EXPECT_EQ(pair.at("verdict"), "unrelated");
        EXPECT_EQ(pair.at("tooShort"), true);
        EXPECT_EQ(pair.at("engine").at("correlation"), 0.0);
        EXPECT_EQ(pair.at("refined").at("correlation"), 0.0);
    }
}

TEST_F(AlignProgram, ARecordingOfATenthOfASecondIsJudged) {
    const Sound room = With(Hiss(12, 2), Syllable(800), 6.25);

    const nlohmann::json enough = Align(Syllable(800), room);
    EXPECT_EQ(enough.at("verdict"), "aligned");
    EXPECT_EQ(enough.at("offset"), -50000);
    EXPECT_EQ(enough.at("tooShort"), false);

    const nlohmann::json tooShort = Align(Syllable(799), room);
    EXPECT_EQ(tooShort.at("verdict"), "unrelated");
    EXPECT_EQ(tooShort.at("tooShort"), true);
}

TEST_F(AlignProgram, ASilentRecordingOfATenthOfASecondIsUnrelated) {
    const nlohmann::json result = Align(Sound(800, 0.0), Talk(6, 1));

    EXPECT_EQ(result.at("verdict"), "unrelated");
    EXPECT_EQ(result.at("tooShort"), false);
    EXPECT_EQ(result.at("refined").at("correlation"), 0.0);
}

TEST_F(AlignProgram, AnOverlapOfLessThanATenthOfASecondIsNotAResult) {
    // The end of the first recording equals the start of the second.
    const auto overlapOf = [&](std::size_t frames) {
        const Sound syllable = Syllable(frames);
        Sound first(4 * RATE - frames, 0.0);
        first.insert(first.end(), syllable.begin(), syllable.end());
        Sound second = syllable;
        second.resize(4 * RATE, 0.0);
        return Align(first, second);
    };

    const nlohmann::json enough = overlapOf(800);
    EXPECT_EQ(enough.at("verdict"), "aligned");
    EXPECT_EQ(enough.at("offset"), 4 * RATE - 800);
    const nlohmann::json tooShort = overlapOf(799);
    EXPECT_EQ(tooShort.at("verdict"), "unrelated");
    EXPECT_EQ(tooShort.at("tooShort"), false);
}

TEST_F(AlignProgram, ARecordingMatchesItself) {
    Write("a.wav", With(Hiss(9, 1), Talk(8, 30), 0.5));

    const nlohmann::json result = Run({"@a.wav", "@a.wav", "--json"}).Json().at("results").at(0);

    EXPECT_EQ(result.at("offset"), 0);
    EXPECT_NEAR(result.at("refined").at("correlation").get<double>(), 1.0, 0.01);
}

TEST_F(AlignProgram, AnEmptyRecordingIsUnrelated) {
    Write("a.wav", Talk(6, 30));
    Write("b.wav", {});

    const ProgramResult result = Run({"@a.wav", "@b.wav", "--json"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.Json().at("results").at(0).at("verdict"), "unrelated");
    EXPECT_EQ(result.Json().at("results").at(0).at("tooShort"), true);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
}

}  // namespace
}  // namespace sonrel_tests
