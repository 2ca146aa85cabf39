// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <thread>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr std::size_t FRAME_BYTES = 4;

/// The same frames from the last to the first.
std::string Reversed(const std::string& samples) {
    std::string reversed;
    for (std::size_t at = samples.size(); at >= FRAME_BYTES; at -= FRAME_BYTES) {
        reversed += samples.substr(at - FRAME_BYTES, FRAME_BYTES);
    }
    return reversed;
}

/// Each of the frames 0, step, 2 * step, ...
std::string EveryFrame(const std::string& samples, std::size_t step) {
    std::string picked;
    for (std::size_t at = 0; at < samples.size(); at += step * FRAME_BYTES) {
        picked += samples.substr(at, FRAME_BYTES);
    }
    return picked;
}

std::vector<Json> Lines(const std::string& text) {
    std::vector<Json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(Json::parse(line));
    return lines;
}

/// The events as words: "frame 3", "meter-start", ...; without the level events.
std::vector<std::string> Words(const std::string& text) {
    std::vector<std::string> words;
    for (const Json& line : Lines(text)) {
        const std::string event = line.at("event");
        if (event == "frame") {
            words.push_back("frame " + std::to_string(line.at("frame").get<int>()));
        } else if (event != "meter") {
            words.push_back(event);
        }
    }
    return words;
}

class PlayProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(96000));
        // A sound card in this machine must stay silent.
        setenv("SDL_AUDIODRIVER", "dummy", 1);
    }
    void TearDown() override {
        for (const char* name : {"SDL_AUDIODRIVER", "SDL_DISKAUDIOFILE"}) unsetenv(name);
    }

    /// A track with the first @p frames of a.wav.
    void WriteTimeline(int frames, double rate = 25, double masterLevel = 0) {
        Json document = Timeline({Track({Clip("a.wav", 0, frames, rate)})});
        document["metadata"]["sonrel"] = {{"masterLevel", masterLevel}};
        WriteFile(shop_.Work("edit.otio"), document.dump());
    }

    ProgramResult Play(std::vector<std::string> more) {
        std::vector<std::string> arguments{"play", "@edit.otio"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    Workshop shop_;
};

TEST_F(PlayProgram, ATimelinePlayedToAFileHasTheBytesOfItsMix) {
    // A level of -1 dB produces fractions, so that the dither noise has an effect.
    WriteTimeline(50, 25, -1.0);
    for (const std::string dither : {"none", "triangular", "highpass"}) {
        ASSERT_EQ(
            shop_.Run({"mix", "@edit.otio", "-o", "@mix.wav", "--dither", dither, "--seed", "7"})
                .exitCode,
            0);

        ASSERT_EQ(Play({"--output", "@out.wav", "--dither", dither, "--seed", "7"}).exitCode, 0);

        EXPECT_EQ(ReadFile(shop_.Work("out.wav")), ReadFile(shop_.Work("mix.wav"))) << dither;
    }
}

TEST_F(PlayProgram, AFileThatIsNotAWavHasRawSamples) {
    WriteTimeline(50);

    ASSERT_EQ(Play({"--output", "@out.raw", "--dither", "none"}).exitCode, 0);

    EXPECT_EQ(ReadFile(shop_.Work("out.raw")), CountingSamples(96000));
}

TEST_F(PlayProgram, TheLastBufferOfALongRunEndsWithSamplesOfFiftyBuffersBefore) {
    // 59 frames at 29.97 are 94494 samples, and a buffer has 1602: 58 full buffers and 1578
    // samples. The remaining 24 samples are from buffer number 8, which used the same memory.
    WriteTimeline(59, 29.97);

    ASSERT_EQ(Play({"--output", "@out.raw", "--dither", "none"}).exitCode, 0);

    const std::string tail =
        CountingSamples(8 * 1602 + 1602).substr((8 * 1602 + 1578) * FRAME_BYTES);
    EXPECT_EQ(ReadFile(shop_.Work("out.raw")), CountingSamples(94494) + tail);
}

TEST_F(PlayProgram, FromSetsTheFirstPosition) {
    WriteTimeline(50);

    ASSERT_EQ(Play({"--output", "@out.raw", "--dither", "none", "--from", "10f"}).exitCode, 0);

    EXPECT_EQ(ReadFile(shop_.Work("out.raw")), CountingSamples(96000).substr(19200 * FRAME_BYTES));
}

TEST_F(PlayProgram, ReverseStartsAtTheLastSampleAndPlaysTheSamplesBeforeIt) {
    WriteTimeline(50);

    ASSERT_EQ(Play({"--output", "@out.raw", "--dither", "none", "--reverse"}).exitCode, 0);

    // The last of the 50 buffers is one sample short; this sample is silent.
    EXPECT_EQ(ReadFile(shop_.Work("out.raw")),
              Reversed(CountingSamples(95999)) + std::string(FRAME_BYTES, '\0'));
}

TEST_F(PlayProgram, ReverseFromAPositionPlaysDownToTheStart) {
    WriteTimeline(50);

    ASSERT_EQ(
        Play({"--output", "@out.raw", "--dither", "none", "--reverse", "--from", "2f"}).exitCode,
        0);

    EXPECT_EQ(ReadFile(shop_.Work("out.raw")), Reversed(CountingSamples(3840)));
}

TEST_F(PlayProgram, SpeedSkipsFrames) {
    WriteTimeline(50);

    ASSERT_EQ(Play({"--output", "@out.raw", "--dither", "none", "--speed", "2"}).exitCode, 0);

    EXPECT_EQ(ReadFile(shop_.Work("out.raw")), EveryFrame(CountingSamples(96000), 2));
}

TEST_F(PlayProgram, AMediaFileIsPlayed) {
    ASSERT_EQ(shop_.Run({"play", "@a.wav", "--output", "@out.wav"}).exitCode, 0);

    EXPECT_EQ(SampleBytes(shop_.Work("out.wav")), CountingSamples(96000));
}

TEST_F(PlayProgram, AMediaFileIsPlayedAtTheRequestedRates) {
    ASSERT_EQ(shop_.Run({"mix", "@a.wav", "-o", "@mix.wav", "--rate", "44100"}).exitCode, 0);

    const ProgramResult result = shop_.Run(
        {"play", "@a.wav", "--output", "@out.wav", "--rate", "44100", "--fps", "50", "--events"});

    // Two seconds are 100 frames of 882 samples.
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(ReadFile(shop_.Work("out.wav")), ReadFile(shop_.Work("mix.wav")));
    EXPECT_THAT(result.out, HasSubstr("\"frame\":99}"));
    EXPECT_THAT(result.out, Not(HasSubstr("\"frame\":100}")));
}

TEST_F(PlayProgram, EachHeardFrameIsAnEventBetweenTheMetersAndTheEnd) {
    WriteTimeline(5);

    const ProgramResult result = Play({"--output", "@out.wav", "--events"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(Words(result.out), ElementsAre("meter-start", "frame 0", "frame 1", "frame 2",
                                               "frame 3", "frame 4", "meter-stop", "end"));
}

TEST_F(PlayProgram, TheFrameStampOfAPositionIsReportedUnchanged) {
    // Frame 29 begins at sample 55680, and 55680 / 48000 * 25 is a little below 29.
    WriteTimeline(31);

    const ProgramResult result = Play({"--output", "@out.wav", "--events", "--from", "29f"});

    EXPECT_THAT(Words(result.out),
                ElementsAre("meter-start", "frame 28", "frame 30", "meter-stop", "end"));
}

TEST_F(PlayProgram, MetersHaveTheLoudnessThatIsHeard) {
    WriteTimeline(50);

    const ProgramResult result = Play({"--output", "@out.wav", "--events"});

    Json last;
    for (const Json& line : Lines(result.out)) {
        if (line.at("event") == "meter") last = line;
    }
    // Two seconds: a momentary loudness and no short-term loudness.
    EXPECT_TRUE(last.at("loudness").at("momentary").is_number());
    EXPECT_TRUE(last.at("loudness").at("shortTerm").is_null());
}

TEST_F(PlayProgram, LevelsAreAnEventForEachTrackAndTheMaster) {
    WriteTimeline(50);

    const ProgramResult result = Play({"--output", "@out.wav", "--events"});

    std::vector<Json> levels;
    for (const Json& line : Lines(result.out)) {
        if (line.at("event") == "meter") levels.push_back(line);
    }
    ASSERT_GE(levels.size(), 2u);
    for (const Json& line : levels) {
        ASSERT_EQ(line.at("tracks").size(), 1u);
        EXPECT_EQ(line.at("tracks").at(0).at("name"), "A1");
        // One track at unity gain: the output equals the input.
        EXPECT_EQ(line.at("tracks").at(0).at("peak"), line.at("master").at("peak"));
        EXPECT_GT(line.at("master").at("peak").at(0), 0.0);
        EXPECT_EQ(line.at("master").at("clipped"), (Json{false, false}));
    }
}

TEST_F(PlayProgram, AMediaFileHasNoLevels) {
    const ProgramResult result = shop_.Run({"play", "@a.wav", "--output", "@out.wav", "--events"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, Not(HasSubstr("meter")));
    EXPECT_EQ(Words(result.out).front(), "frame 0");
    EXPECT_EQ(Words(result.out).back(), "end");
}

TEST_F(PlayProgram, OnAPipeTheDisplayIsOff) {
    WriteTimeline(3);

    const ProgramResult result = Play({"--output", "null", "--meters"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "");
}

TEST_F(PlayProgram, TheNullOutputPlaysInRealTime) {
    WriteTimeline(10);
    const auto begin = std::chrono::steady_clock::now();

    const ProgramResult result = Play({"--output", "null", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(390));
    EXPECT_EQ(result.Json().at("lastFrame"), 9);
    EXPECT_EQ(result.Json().at("samples"), 19200);
}

TEST_F(PlayProgram, TheDeviceGetsTheSameBytesAfterItsLeadIn) {
    WriteTimeline(10);
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", shop_.Work("device.raw").c_str(), 1);

    const ProgramResult result = Play({"--dither", "none"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    // Compared from the second sample: the first sample is 0, like the silence before it.
    EXPECT_NE(ReadFile(shop_.Work("device.raw")).find(CountingSamples(19200).substr(FRAME_BYTES)),
              std::string::npos);
}

TEST_F(PlayProgram, BufferSetsThePeriodOfTheDevice) {
    WriteTimeline(1);
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", shop_.Work("device.raw").c_str(), 1);
    // 300 ms are 28800 frames at 96000 Hz: periods of 32768 frames.
    constexpr std::size_t PERIOD_BYTES = 32768 * FRAME_BYTES;

    const ProgramResult result = Play({"--rate", "96000", "--buffer", "300"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::size_t size = ReadFile(shop_.Work("device.raw")).size();
    EXPECT_GT(size, 0u);
    EXPECT_EQ(size % PERIOD_BYTES, 0u);
}

TEST_F(PlayProgram, BufferIsForTheSoundDeviceOnly) {
    WriteTimeline(1);
    for (const char* output : {"null", "@out.raw"}) {
        const ProgramResult result = Play({"--output", output, "--buffer", "100"});
        EXPECT_EQ(result.exitCode, 2) << output;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_THAT(result.err, HasSubstr("--buffer"));
    }
    for (const char* buffer : {"4", "501", "long"}) {
        const ProgramResult result = Play({"--buffer", buffer});
        EXPECT_EQ(result.exitCode, 2) << buffer;
        EXPECT_THAT(result.err, HasSubstr("--buffer"));
    }
}

TEST_F(PlayProgram, WithoutADeviceTheProgramFailsWithOneLine) {
    WriteTimeline(10);
    setenv("SDL_AUDIODRIVER", "no-such-driver", 1);

    const ProgramResult result = Play({});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_THAT(result.err, HasSubstr("no sound device can be opened at 48000 Hz"));
}

TEST_F(PlayProgram, AnUnsupportedRateFailsWithOneLine) {
    WriteTimeline(10);

    for (const std::string rate : {"7999", "96001"}) {
        const ProgramResult result = Play({"--rate", rate, "--output", "null"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
    EXPECT_EQ(Play({"--rate", "8000", "--output", "@out.raw"}).exitCode, 0);
    EXPECT_EQ(Play({"--rate", "96000", "--output", "@out.raw"}).exitCode, 0);
}

TEST_F(PlayProgram, WrongUsageExits2) {
    WriteTimeline(10);
    const std::vector<std::vector<std::string>> wrong{{"--speed", "0"},
                                                      {"--speed", "5"},
                                                      {"--speed", "fast"},
                                                      {"--from", "10f"},
                                                      {"--reverse", "--from", "0"},
                                                      {"--output", ""},
                                                      {"--seed", "0"},
                                                      {"--dither", "pink"},
                                                      {"--events", "--json"},
                                                      {"--output", "@edit.otio"},
                                                      {"--output", "@a.wav"}};
    for (std::vector<std::string> arguments : wrong) {
        if (arguments.front() != "--output") {
            arguments.insert(arguments.end(), {"--output", "@out.raw"});
        }
        const ProgramResult result = Play(arguments);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(arguments);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.raw")));
}

TEST_F(PlayProgram, MissingMediaExit3AndAreNamed) {
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("gone.wav", 0, 10)})}).dump());

    const ProgramResult result = Play({"--output", "@out.raw"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_THAT(result.err, HasSubstr("gone.wav"));
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.raw")));
}

TEST_F(PlayProgram, AllowMissingPlaysSilenceForMissingMedia) {
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("gone.wav", 0, 10)})}).dump());

    ASSERT_EQ(Play({"--output", "@out.raw", "--allow-missing"}).exitCode, 0);

    EXPECT_EQ(ReadFile(shop_.Work("out.raw")), std::string(19200 * FRAME_BYTES, '\0'));
}

TEST_F(PlayProgram, ATimelineOfNoLengthFails) {
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({})}).dump());

    const ProgramResult result = Play({"--output", "null"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
}

TEST_F(PlayProgram, AnInterruptStopsThePlaybackAndExits130) {
    // Longer than the test.
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("a.wav", 0, 50), Gap(3000)})}).dump());
    RunningProgram program = shop_.Start({"play", "@edit.otio", "--output", "null", "--events"});
    while (program.OutputSoFar().find("\"frame\":0") == std::string::npos) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

    kill(program.Id(), SIGINT);
    const ProgramResult result = program.Wait();

    EXPECT_EQ(result.exitCode, 130);
    EXPECT_EQ(result.err, "sonrel: interrupted: playback stopped\n");
    EXPECT_EQ(Words(result.out).back(), "meter-stop");
}

TEST_F(PlayProgram, AnInterruptKeepsTheOldFile) {
    // An hour, so that the run has not ended when the signal arrives.
    WriteFile(shop_.Work("edit.otio"),
              Timeline({Track({Clip("a.wav", 0, 50), Gap(3600 * 25)})}).dump());
    WriteFile(shop_.Work("out.wav"), "old");
    RunningProgram program =
        shop_.Start({"play", "@edit.otio", "--output", "@out.wav", "--events"});
    while (program.OutputSoFar().find("\"frame\":0") == std::string::npos) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

    kill(program.Id(), SIGINT);

    EXPECT_EQ(program.Wait().exitCode, 130);
    EXPECT_EQ(ReadFile(shop_.Work("out.wav")), "old");
}

TEST_F(PlayProgram, AFullDiskIsNamedInTheMessage) {
    WriteTimeline(50);

    const ProgramResult result = Play({"--output", "/dev/full"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_THAT(result.err, HasSubstr("/dev/full"));
}

}  // namespace
}  // namespace sonrel_tests
