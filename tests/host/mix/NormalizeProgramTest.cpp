// SPDX-License-Identifier: MIT
// A stereo tone of 997 Hz with the amplitude A in both channels has a loudness of 20 * log10(A)
// LUFS, and its true peak is A.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

constexpr int TONE_RATE = 48000;
constexpr int TONE_SECONDS = 4;
constexpr double TONE_HERTZ = 997.0;

double LevelOf(double factor) {
    return 20.0 * std::log10(factor);
}

/// A stereo WAV with the tone.
std::string ToneWav(double amplitude) {
    std::string data;
    for (int i = 0; i < TONE_SECONDS * TONE_RATE; ++i) {
        const double value =
            32768.0 * amplitude * std::sin(2.0 * std::numbers::pi * TONE_HERTZ * i / TONE_RATE);
        const auto sample = static_cast<std::int16_t>(std::lround(value));
        for (int channel = 0; channel < 2; ++channel) {
            data += Little(static_cast<std::uint16_t>(sample), 2);
        }
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 2, TONE_RATE, 16)) + Chunk("data", data));
}

class NormalizeProgram : public testing::Test {
protected:
    void WriteEdit(double amplitude, double masterLevel = 0.0) const {
        WriteFile(shop_.Work("a.wav"), ToneWav(amplitude));
        WriteFile(shop_.Work("edit.otio"),
                  WithOurs(Timeline({Track({Clip("a.wav", 0, 25 * TONE_SECONDS)})}),
                           {{"masterLevel", masterLevel}})
                      .dump());
    }

    /// Mixes to out.wav and returns the report.
    nlohmann::json Mix(std::vector<std::string> more, const std::string& input = "@edit.otio") {
        std::vector<std::string> arguments{"mix", input, "-o", "@out.wav", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.Json();
    }

    /// Amplitude of the tone in the left channel of out.wav, in dB.
    double ToneLevel() const {
        const std::string bytes = ReadFile(shop_.Work("out.wav"));
        double real = 0.0;
        double imaginary = 0.0;
        const std::size_t frames = (bytes.size() - 44) / 4;
        for (std::size_t i = 0; i < frames; ++i) {
            std::int16_t value = 0;
            std::memcpy(&value, bytes.data() + 44 + 4 * i, 2);
            const double angle =
                2.0 * std::numbers::pi * TONE_HERTZ * static_cast<double>(i) / TONE_RATE;
            real += value / 32768.0 * std::cos(angle);
            imaginary += value / 32768.0 * std::sin(angle);
        }
        return LevelOf(2.0 * std::hypot(real, imaginary) / static_cast<double>(frames));
    }

    Workshop shop_;
};

TEST_F(NormalizeProgram, OneGainGivesTheMixTheLoudness) {
    WriteEdit(0.05);

    const nlohmann::json report = Mix({"--normalize", "-23"});

    // From 20 * log10(0.05) = -26.02.
    EXPECT_NEAR(ToneLevel(), -23.0, 0.05);
    EXPECT_NEAR(report.at("loudness").at("integrated"), -23.0, 0.05);
    const nlohmann::json applied = report.at("normalization");
    EXPECT_EQ(applied.at("target"), -23.0);
    EXPECT_EQ(applied.at("truePeakLimit"), -1.0);
    EXPECT_NEAR(applied.at("gain"), 3.02, 0.05);
    EXPECT_NEAR(applied.at("measured").at("integrated"), -26.02, 0.05);
    EXPECT_NEAR(applied.at("measured").at("truePeak"), -26.02, 0.05);
    EXPECT_EQ(applied.at("limitedByTruePeak"), false);
    EXPECT_EQ(applied.at("measurements"), 1);
}

TEST_F(NormalizeProgram, TheTruePeakLimitWinsOverTheLoudness) {
    WriteEdit(0.25);

    const nlohmann::json report = Mix({"--normalize", "-2.5", "--true-peak", "-6"});

    EXPECT_NEAR(ToneLevel(), -6.0, 0.02);
    EXPECT_LE(report.at("loudness").at("truePeak"), -6.0);
    EXPECT_EQ(report.at("normalization").at("limitedByTruePeak"), true);
    // From 20 * log10(0.25) = -12.04.
    EXPECT_NEAR(report.at("normalization").at("gain"), 6.04, 0.05);
}

TEST_F(NormalizeProgram, AMixThatClipsIsMeasuredAgainUntilItDoesNot) {
    // A peak of 0.5 * 10 ^ (18 / 20) = 3.97.
    WriteEdit(0.5, 18.0);

    const nlohmann::json report = Mix({"--normalize", "-20"});

    EXPECT_NEAR(ToneLevel(), -20.0, 0.05);
    EXPECT_EQ(report.at("master").at("clippedBlocks"), (nlohmann::json{0, 0}));
    EXPECT_EQ(report.at("normalization").at("measurements"), 2);
    EXPECT_NEAR(report.at("normalization").at("measured").at("integrated"), 11.98, 0.05);
}

TEST_F(NormalizeProgram, AQuietMixReachesTheLoudnessToo) {
    // 20 * log10(0.0005) = -66.02, a peak of 16 steps.
    WriteEdit(0.0005);

    Mix({"--normalize", "-20"});

    EXPECT_NEAR(ToneLevel(), -20.0, 0.1);
}

TEST_F(NormalizeProgram, ANestedItemAndAMediaFileReachTheLoudness) {
    WriteEdit(0.05);
    WriteFile(
        shop_.Work("nested.otio"),
        Timeline({Track({Named(Stack({Track({Clip("a.wav", 0, 25 * TONE_SECONDS)})}), "inner")})})
            .dump());

    Mix({"--normalize", "-23", "--composition", "inner"}, "@nested.otio");
    EXPECT_NEAR(ToneLevel(), -23.0, 0.05);

    const nlohmann::json report = Mix({"--normalize", "-30"}, "@a.wav");
    EXPECT_NEAR(ToneLevel(), -30.0, 0.05);
    EXPECT_EQ(report.at("samples"), TONE_SECONDS * TONE_RATE);
    EXPECT_EQ(report.at("dither"), "highpass");
}

TEST_F(NormalizeProgram, AStemHasTheGainOfTheMix) {
    WriteEdit(0.05);

    Mix({"--normalize", "-23", "--dither", "none", "--stems", "@stems"});

    EXPECT_EQ(ReadFile(shop_.Work("stems/01-A1.wav")), ReadFile(shop_.Work("out.wav")));
}

TEST_F(NormalizeProgram, ASilentMixFailsAndWritesNothing) {
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Gap(25)})}).dump());

    const ProgramResult result =
        shop_.Run({"mix", "@edit.otio", "-o", "@out.wav", "--normalize", "-23"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("no loudness"), std::string::npos) << result.err;
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.wav")));
}

TEST_F(NormalizeProgram, AnImpossibleTargetIsWrongUsage) {
    WriteEdit(0.05);
    for (const std::vector<std::string>& options :
         std::vector<std::vector<std::string>>{{"--normalize", "1"},
                                               {"--normalize", "-70.1"},
                                               {"--normalize", "--true-peak"},
                                               {"--normalize", "loud"},
                                               {"--normalize", "-23", "--true-peak", "0.5"},
                                               {"--true-peak", "-2"}}) {
        std::vector<std::string> arguments{"mix", "@edit.otio", "-o", "@out.wav"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(options);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
}

}  // namespace
}  // namespace sonrel_tests
