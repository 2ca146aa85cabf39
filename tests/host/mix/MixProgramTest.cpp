// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cmath>
#include <numbers>
#include <thread>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

/// A WAV of CountingSamples: the program writes the same plain 44-byte header.
std::string CountingWav(long long frames, int rate = 48000) {
    return ConformedFileBytes(frames, rate);
}

/// A stereo WAV of one second with a tone of @p peak at a quarter of the rate. The phase is shifted
/// by an eighth of a period, so that the tone between the samples is 1.414 times as high as the
/// samples. The tone fades in and out.
std::string ToneBetweenSamples(double peak) {
    std::string data;
    for (int i = 0; i < 48000; ++i) {
        const double fade = std::sin(std::numbers::pi * i / 48000.0);
        const double value = peak * fade * std::sin(std::numbers::pi * (2 * i + 1) / 4.0);
        const auto sample = static_cast<std::int16_t>(std::lround(32767.0 * value));
        for (int channel = 0; channel < 2; ++channel) {
            data += Little(static_cast<std::uint16_t>(sample), 2);
        }
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) + Chunk("data", data));
}

class MixProgram : public testing::Test {
protected:
    void SetUp() override { WriteFile(shop_.Work("a.wav"), CountingWav(96000)); }

    void WriteTimeline(const Json& document) {
        WriteFile(shop_.Work("edit.otio"), document.dump());
    }
    /// A track with the whole of a.wav: 50 frames at 25 a second.
    void WritePlainTimeline() { WriteTimeline(Timeline({Track({Clip("a.wav", 0, 50)})})); }

    ProgramResult Mix(std::vector<std::string> more = {}) {
        std::vector<std::string> arguments{"mix", "@edit.otio", "-o", "@out.wav"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    Workshop shop_;
};

TEST_F(MixProgram, AClipAtUnityWithoutDitherKeepsItsBytes) {
    WritePlainTimeline();

    ASSERT_EQ(Mix({"--dither", "none"}).exitCode, 0);

    EXPECT_EQ(SampleBytes(shop_.Work("out.wav")), CountingSamples(96000));
}

TEST_F(MixProgram, AMediaFileKeepsItsBytes) {
    const ProgramResult result = shop_.Run({"mix", "@a.wav", "-o", "@out.wav", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(SampleBytes(shop_.Work("out.wav")), CountingSamples(96000));
    EXPECT_FALSE(result.Json().contains("tracks"));
    EXPECT_TRUE(result.Json().at("master").is_null());
    EXPECT_EQ(result.Json().at("samples"), 96000);
    EXPECT_EQ(result.Json().at("dither"), "none");
}

TEST_F(MixProgram, TheSameCommandTwiceWritesTheSameBytes) {
    WritePlainTimeline();
    ASSERT_EQ(Mix({"--dither", "triangular"}).exitCode, 0);
    const std::string first = ReadFile(shop_.Work("out.wav"));

    ASSERT_EQ(Mix({"--dither", "triangular"}).exitCode, 0);

    EXPECT_EQ(ReadFile(shop_.Work("out.wav")), first);
}

TEST_F(MixProgram, TheSeedChangesTheNoise) {
    // A level of -1 dB produces fractions, whose rounding depends on the dither noise.
    Json document = Timeline({Track({Clip("a.wav", 0, 50)})});
    document["metadata"]["sonrel"] = {{"masterLevel", -1.0}};
    WriteTimeline(document);
    ASSERT_EQ(Mix().exitCode, 0);
    const std::string one = SampleBytes(shop_.Work("out.wav"));

    ASSERT_EQ(Mix({"--seed", "2"}).exitCode, 0);

    EXPECT_NE(SampleBytes(shop_.Work("out.wav")), one);
}

TEST_F(MixProgram, FromAndToCutTheMix) {
    WritePlainTimeline();

    ASSERT_EQ(Mix({"--dither", "none", "--from", "1000smp", "--to", "1f"}).exitCode, 0);

    EXPECT_EQ(SampleBytes(shop_.Work("out.wav")), CountingSamples(96000).substr(4000, 4 * 920));
}

TEST_F(MixProgram, AnUnevenFrameRateLosesNoSample) {
    Json document = Timeline({Track({Clip("a.wav", 0, 59, 29.97)})});
    WriteTimeline(document);

    const ProgramResult result = Mix({"--dither", "none", "--json"});

    // 29.97 is 30000/1001: a frame has 1601.6 samples, and 59 frames have 94494.4.
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("samples"), 94494);
    EXPECT_EQ(SampleBytes(shop_.Work("out.wav")), CountingSamples(94494));
}

TEST_F(MixProgram, TheJsonObjectHasEveryKey) {
    WritePlainTimeline();

    const nlohmann::json report = Mix({"--json"}).Json();

    for (const char* key : {"output", "rate", "fps", "grid", "samples", "dither", "seed", "tracks",
                            "master", "loudness", "missing", "notTakenOver"}) {
        EXPECT_TRUE(report.contains(key)) << key;
    }
    EXPECT_EQ(report.at("rate"), 48000);
    EXPECT_EQ(report.at("fps"), 25.0);
    EXPECT_EQ(report.at("samples"), 96000);
    EXPECT_EQ(report.at("dither"), "highpass");
    EXPECT_EQ(report.at("seed"), 1);
    EXPECT_EQ(report.at("tracks").at(0).at("name"), "A1");
    // The loudest values are 32767 left and -32767 right.
    EXPECT_EQ(report.at("tracks").at(0).at("peak").at(0), 32767.0 / 32768.0);
    EXPECT_EQ(report.at("tracks").at(0).at("peak").at(1), 32767.0 / 32768.0);
    EXPECT_EQ(report.at("master").at("clippedBlocks"), (nlohmann::json{0, 0}));
    EXPECT_TRUE(report.at("loudness").at("integrated").is_number());
}

TEST_F(MixProgram, SilenceHasNoLoudness) {
    WriteTimeline(Timeline({Track({Gap(50)})}));

    const nlohmann::json report = Mix({"--json"}).Json();

    EXPECT_TRUE(report.at("loudness").at("integrated").is_null());
    EXPECT_TRUE(report.at("loudness").at("truePeak").is_null());
}

TEST_F(MixProgram, FailOnClipExits3WithTheReportAndTheFile) {
    Json document = Timeline({Track({Clip("a.wav", 0, 50)})});
    document["metadata"]["sonrel"] = {{"masterLevel", 6.0}};
    WriteTimeline(document);

    const ProgramResult result = Mix({"--fail-on-clip", "--json"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_GT(result.Json().at("master").at("clippedBlocks").at(0), 0);
    EXPECT_TRUE(std::filesystem::exists(shop_.Work("out.wav")));
}

TEST_F(MixProgram, FailOnClipSucceedsWithoutClipping) {
    WritePlainTimeline();

    EXPECT_EQ(Mix({"--fail-on-clip"}).exitCode, 0);
}

TEST_F(MixProgram, FailOnClipOfAMediaFileExits3AboveATruePeakOf0) {
    // 20 * log10(1.02) is +0.17 dBTP. No sample is above 1.02 / 1.414 = 0.72.
    WriteFile(shop_.Work("tone.wav"), ToneBetweenSamples(1.02));

    const ProgramResult result =
        shop_.Run({"mix", "@tone.wav", "-o", "@out.wav", "--fail-on-clip", "--json"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("dBTP"), std::string::npos) << result.err;
    EXPECT_NEAR(result.Json().at("loudness").at("truePeak"), 0.17, 0.05);
    EXPECT_TRUE(result.Json().contains("error"));
    EXPECT_TRUE(std::filesystem::exists(shop_.Work("out.wav")));
    EXPECT_EQ(shop_.Run({"mix", "@tone.wav", "-o", "@out.wav"}).exitCode, 0);
}

TEST_F(MixProgram, FailOnClipOfAMediaFileAcceptsATruePeakBelow0) {
    // 20 * log10(0.98) is -0.18 dBTP.
    WriteFile(shop_.Work("tone.wav"), ToneBetweenSamples(0.98));

    EXPECT_EQ(shop_.Run({"mix", "@tone.wav", "-o", "@out.wav", "--fail-on-clip"}).exitCode, 0);
}

TEST_F(MixProgram, MissingMediaExit3AndAreNamedAndNoFileIsWritten) {
    WriteTimeline(Timeline({Track({Clip("gone.wav", 0, 10), Clip("lost.wav", 0, 10)})}));

    const ProgramResult result = Mix({"--json"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("gone.wav"), std::string::npos);
    EXPECT_NE(result.err.find("lost.wav"), std::string::npos);
    EXPECT_EQ(result.Json().at("missing").size(), 2u);
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.wav")));
    EXPECT_FALSE(std::filesystem::exists(shop_.Path("cache")));
}

TEST_F(MixProgram, AllowMissingMixesSilenceForMissingMedia) {
    WriteTimeline(Timeline({Track({Clip("gone.wav", 0, 25), Clip("a.wav", 0, 25)})}));

    const ProgramResult result = Mix({"--allow-missing", "--dither", "none", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("missing").size(), 1u);
    EXPECT_EQ(SampleBytes(shop_.Work("out.wav")),
              std::string(4 * 48000, '\0') + CountingSamples(48000));
}

TEST_F(MixProgram, ATimelineOfNoLengthFails) {
    WriteTimeline(Timeline({Track({})}));

    const ProgramResult result = Mix();

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
}

TEST_F(MixProgram, WithoutACacheATimelineWithMediaFailsAndATimelineOfGapsDoesNot) {
    WritePlainTimeline();
    EXPECT_EQ(shop_.RunBare({"--no-cache-db", "mix", "@edit.otio", "-o", "@out.wav"}).exitCode, 1);
    WriteTimeline(Timeline({Track({Gap(10)})}));

    EXPECT_EQ(shop_.RunBare({"--no-cache-db", "mix", "@edit.otio", "-o", "@out.wav"}).exitCode, 0);
}

TEST_F(MixProgram, MetersContainEveryBlock) {
    WritePlainTimeline();

    ASSERT_EQ(Mix({"--meters", "@meters.json"}).exitCode, 0);

    const auto meters = nlohmann::json::parse(ReadFile(shop_.Work("meters.json")));
    // Two seconds of blocks of a tenth of a second.
    EXPECT_EQ(meters.at("blockFrames"), 4800);
    EXPECT_EQ(meters.at("master").at("blocks").size(), 20u);
    EXPECT_EQ(meters.at("tracks").at(0).at("blocks").size(), 20u);
    // The first block counts from 0 to 4799.
    EXPECT_EQ(meters.at("tracks").at(0).at("blocks").at(0).at("peak").at(0), 4799.0 / 32768.0);
}

TEST_F(MixProgram, TheOutputMayNotReplaceAMediaFile) {
    WritePlainTimeline();
    const std::string before = ReadFile(shop_.Work("a.wav"));

    const ProgramResult result = shop_.Run({"mix", "@edit.otio", "-o", "@a.wav"});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(ReadFile(shop_.Work("a.wav")), before);
}

TEST_F(MixProgram, AMissingOutputFolderIsNamedInTheMessage) {
    WritePlainTimeline();

    const ProgramResult result = shop_.Run({"mix", "@edit.otio", "-o", "@nowhere/out.wav"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("nowhere/out.wav"), std::string::npos);
}

TEST_F(MixProgram, AnInterruptExits130AndKeepsTheOldFile) {
    // An hour, so that the mix has not ended when the signal arrives.
    WriteTimeline(Timeline({Track({Clip("a.wav", 0, 50), Gap(3600 * 25)})}));
    WriteFile(shop_.Work("out.wav"), "old");
    const std::vector<std::string> before = NamesIn(shop_.Path("work"));
    RunningProgram program =
        shop_.Start({"--progress", "json", "mix", "@edit.otio", "-o", "@out.wav"});
    while (program.ErrorSoFar().find("\"mix\"") == std::string::npos) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

    kill(program.Id(), SIGINT);
    const ProgramResult result = program.Wait();

    EXPECT_EQ(result.exitCode, 130);
    EXPECT_NE(result.err.find("sonrel: interrupted"), std::string::npos);
    EXPECT_EQ(ReadFile(shop_.Work("out.wav")), "old");
    EXPECT_EQ(NamesIn(shop_.Path("work")), before);
}

}  // namespace
}  // namespace sonrel_tests
