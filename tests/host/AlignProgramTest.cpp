// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>
#include <set>

#include "tests/host/ProgramRun.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

constexpr int RATE = 8000;

using Sound = std::vector<double>;

Sound Hiss(double seconds, unsigned int seed, double amplitude = 40.0) {
    std::mt19937 engine(seed);
    Sound sound(static_cast<std::size_t>(seconds * RATE));
    for (double& value : sound) value = amplitude * (engine() / 2147483648.0 - 1.0);
    return sound;
}

/// Bursts of low noise with pauses between them, as speech has them.
Sound Talk(double seconds, unsigned int seed) {
    std::mt19937 engine(seed);
    const auto between = [&](double low, double high) {
        return low + (high - low) * (engine() / 4294967296.0);
    };
    Sound sound(static_cast<std::size_t>(seconds * RATE), 0.0);
    double state = 0.0;
    for (std::size_t at = 0; at < sound.size();) {
        const auto length = static_cast<std::size_t>(between(0.08, 0.4) * RATE);
        const double gain = between(2000.0, 14000.0);
        const double softness = between(0.1, 0.5);
        for (std::size_t i = 0; i < length && at + i < sound.size(); ++i) {
            state += softness * (between(-1.0, 1.0) - state);
            sound[at + i] =
                gain * state *
                std::sin(3.14159 * static_cast<double>(i) / static_cast<double>(length));
        }
        at += length + static_cast<std::size_t>(between(0.0, 0.3) * RATE);
    }
    return sound;
}

Sound Repeated(const Sound& loop, int times) {
    Sound sound;
    for (int i = 0; i < times; ++i) sound.insert(sound.end(), loop.begin(), loop.end());
    return sound;
}

Sound Louder(Sound sound, double factor) {
    for (double& value : sound) value *= factor;
    return sound;
}

/// Adds a sound to a recording; what reaches beyond its end is cut.
Sound With(Sound recording, const Sound& sound, double seconds, int frames = 0) {
    const auto at = static_cast<std::size_t>(seconds * RATE) + static_cast<std::size_t>(frames);
    for (std::size_t i = 0; i < sound.size() && at + i < recording.size(); ++i) {
        recording[at + i] += sound[i];
    }
    return recording;
}

std::string WaveFile(const Sound& sound) {
    std::string data;
    for (const double value : sound) {
        const auto sample = static_cast<std::int16_t>(std::clamp(value, -32768.0, 32767.0));
        data += Little(static_cast<std::uint16_t>(sample), 2);
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 1, RATE, 16)) + Chunk("data", data));
}

class AlignProgram : public testing::Test {
protected:
    void Write(const std::string& name, const Sound& sound) {
        WriteFile(shop_.Work(name), WaveFile(sound));
    }

    ProgramResult Run(std::vector<std::string> more) {
        std::vector<std::string> arguments{"align", "--rate", std::to_string(RATE)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    /// The only result of a run on a.wav and b.wav.
    nlohmann::json Align(const Sound& a, const Sound& b) {
        Write("a.wav", a);
        Write("b.wav", b);
        return Run({"@a.wav", "@b.wav", "--json"}).Json().at("results").at(0);
    }

    Workshop shop_;
};

// ---- The answer

TEST_F(AlignProgram, TheOffsetIsExactThoughTheEnginesIsNot) {
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

TEST_F(AlignProgram, ExchangedRecordingsGiveTheNegativeOffset) {
    const Sound talk = Talk(14, 1);

    const nlohmann::json result =
        Align(With(Hiss(30, 3), talk, 9.0, 321), With(Hiss(16, 2), talk, 1.5));

    EXPECT_EQ(result.at("offset"), 72321 - 12000);
}

TEST_F(AlignProgram, TheTextSaysWhichStartsLater) {
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

TEST_F(AlignProgram, ALoopIsAlignedWithItsOwnBeginning) {
    const Sound music = Repeated(Talk(2, 5), 8);

    const nlohmann::json result =
        Align(With(Hiss(24, 6), music, 3.0), With(Hiss(30, 7), music, 7.0, 123));

    EXPECT_EQ(result.at("offset"), 24000 - 56123);
    EXPECT_NE(result.at("engine").at("offset"), 24000 - 56123 + 2);
}

TEST_F(AlignProgram, ALoudestSecondOutsideTheOverlapIsNoHindrance) {
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
    // Blocks of two seconds: the event lies on the edge at 16 s.
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

TEST_F(AlignProgram, AShortOverlapTellsNoDrift) {
    const Sound talk = Talk(10, 23);

    EXPECT_TRUE(
        Align(With(Hiss(12, 24), talk, 1.0), With(Hiss(12, 25), talk, 1.5)).at("drift").is_null());
}

// ---- The verdict

TEST_F(AlignProgram, UnrelatedRecordingsExit3WithTheReport) {
    Write("a.wav", With(Hiss(9, 1), Talk(8, 30), 0.5));
    Write("b.wav", With(Hiss(12, 2), Talk(8, 31), 2.0));

    const ProgramResult result = Run({"@a.wav", "@b.wav", "--json"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.Json().at("results").at(0).at("verdict"), "aligned");
    EXPECT_LT(result.Json().at("results").at(0).at("refined").at("correlation"), 0.3);
}

TEST_F(AlignProgram, TheBoundDecides) {
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

/// The middle of a word, where it is loud from the first frame to the last.
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

TEST_F(AlignProgram, ARecordingIsJudgedFromATenthOfASecondOn) {
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

TEST_F(AlignProgram, AnOverlapOfLessThanATenthOfASecondIsNotAnAnswer) {
    // The end of the first recording is the beginning of the second.
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

// ---- Output files

TEST_F(AlignProgram, ThePlotShowsBothWaveformsTheSegmentsAndThePlaces) {
    const Sound talk = Talk(6, 1);
    Write("a.wav", With(Hiss(8, 2), talk, 2.0));
    Write("b & b.wav", With(Hiss(7, 3), talk, 0.5));

    ASSERT_EQ(Run({"@a.wav", "@b & b.wav", "--plot", "@plot.svg"}).exitCode, 0);

    const std::string svg = ReadFile(shop_.Work("plot.svg"));
    const auto count = [&](const std::string& text) {
        int found = 0;
        for (std::size_t at = svg.find(text); at != std::string::npos;
             at = svg.find(text, at + 1)) {
            ++found;
        }
        return found;
    };
    EXPECT_TRUE(svg.starts_with("<svg "));
    EXPECT_TRUE(svg.ends_with("</svg>\n"));
    EXPECT_EQ(count("class=\"waveform\""), 2);
    EXPECT_GE(count("class=\"segment\""), 1);
    EXPECT_GE(count("class=\"place\""), 1);
    EXPECT_EQ(count("b &amp; b.wav"), 1);
    EXPECT_EQ(count("offset 12000 sample frames"), 1);
}

TEST_F(AlignProgram, SeveralPairsHaveAPlotEach) {
    const Sound talk = Talk(3, 1);
    for (const char* name : {"a.wav", "b.wav", "c.wav"}) Write(name, With(Hiss(4, 2), talk, 0.5));

    Run({"@a.wav", "@b.wav", "@c.wav", "--plot", "@plot.svg"});

    EXPECT_TRUE(std::filesystem::exists(shop_.Work("plot-1.svg")));
    EXPECT_TRUE(std::filesystem::exists(shop_.Work("plot-2.svg")));
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("plot.svg")));
}

TEST_F(AlignProgram, TheTimelineHoldsTheRecordingsInSync) {
    const Sound talk = Talk(6, 1);
    Write("a.wav", With(Hiss(8, 2), talk, 2.0));
    Write("b 50%.wav", With(Hiss(7, 3), talk, 0.4));

    ASSERT_EQ(Run({"@a.wav", "@b 50%.wav", "--otio", "@sync.otio"}).exitCode, 0);
    const nlohmann::json info = shop_.Run({"info", "@sync.otio", "--json"}).Json();

    EXPECT_EQ(info.at("rate"), 8000);
    EXPECT_EQ(info.at("fps"), 25.0);
    ASSERT_EQ(info.at("tracks").size(), 2U);
    EXPECT_EQ(info.at("tracks").at(0).at("objects").at(0).at("startFrame"), 0);
    EXPECT_EQ(info.at("tracks").at(1).at("objects").at(0).at("startFrame"), 40);  // 1.6 s
    EXPECT_EQ(info.at("tracks").at(1).at("objects").at(0).at("media"),
              shop_.Work("b 50%.wav").string());
    EXPECT_TRUE(info.at("missing").empty());
    EXPECT_TRUE(info.at("notTakenOver").empty());
}

TEST_F(AlignProgram, TheEarliestRecordingBeginsTheTimeline) {
    const Sound talk = Talk(6, 1);
    Write("a.wav", With(Hiss(8, 2), talk, 0.4));
    Write("b.wav", With(Hiss(9, 3), talk, 2.0));

    Run({"@a.wav", "@b.wav", "--otio", "@sync.otio"});
    const nlohmann::json info = shop_.Run({"info", "@sync.otio", "--json"}).Json();

    EXPECT_EQ(info.at("tracks").at(0).at("objects").at(0).at("startFrame"), 40);
    EXPECT_EQ(info.at("tracks").at(1).at("objects").at(0).at("startFrame"), 0);
}

TEST_F(AlignProgram, ARecordingThatDoesNotAlignIsLeftOutOfTheTimeline) {
    const Sound talk = Talk(4, 1);
    Write("a.wav", With(Hiss(4.5, 2), talk, 0.2));
    Write("b.wav", With(Hiss(4.5, 3), talk, 0.4));
    Write("c.wav", Sound(4 * RATE, 0.0));

    EXPECT_EQ(Run({"@a.wav", "@b.wav", "@c.wav", "--otio", "@sync.otio"}).exitCode, 3);

    const nlohmann::json info = shop_.Run({"info", "@sync.otio", "--json"}).Json();
    EXPECT_EQ(info.at("tracks").size(), 2U);
}

// ---- Wrong usage and bad input

TEST_F(AlignProgram, WrongUsageExits2WithOneLine) {
    Write("a.wav", Talk(1, 1));
    const std::vector<std::vector<std::string>> lines = {
        {},
        {"@a.wav"},
        {"@a.wav", ""},
        {"@a.wav", "@a.wav", "--min-correlation", "much"},
        {"@a.wav", "@a.wav", "--min-correlation", "-0.1"},
        {"@a.wav", "@a.wav", "--min-correlation", "1.1"},
        {"@a.wav", "@a.wav", "--plot", "@a.wav"},
        {"@a.wav", "@a.wav", "--otio", "@a.wav"},
        {"@a.wav", "@edit.otio"},
    };
    for (const auto& line : lines) {
        const ProgramResult result = Run(line);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(line);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
}

TEST_F(AlignProgram, WithoutACacheThereIsNothingToCompare) {
    Write("a.wav", Talk(1, 1));

    const ProgramResult result = shop_.RunBare({"--no-cache-db", "align", "@a.wav", "@a.wav"});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.HasOneErrorLine());
}

TEST_F(AlignProgram, AFileThatIsMissingOrNoSoundExits1WithItsName) {
    Write("a.wav", Talk(1, 1));
    WriteFile(shop_.Work("text.wav"), "no sound at all");
    for (const char* name : {"gone.wav", "text.wav"}) {
        const ProgramResult result = Run({"@a.wav", std::string("@") + name});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find(name), std::string::npos);
    }
}

TEST_F(AlignProgram, ABadInputIsAResultWithItsErrorAndTheGoodPairsFollow) {
    const Sound talk = Talk(6, 1);
    Write("a.wav", With(Hiss(8, 2), talk, 1.0));
    Write("b.wav", With(Hiss(8, 3), talk, 1.5));
    WriteFile(shop_.Work("text.wav"), "no sound at all");
    const std::vector<std::string> inputs{"@a.wav", "@gone.wav", "@text.wav", "@b.wav"};

    const ProgramResult text = Run(inputs);
    const ProgramResult json = Run({"@a.wav", "@gone.wav", "@text.wav", "@b.wav", "--json"});

    EXPECT_EQ(text.exitCode, 1);
    EXPECT_TRUE(text.HasOneErrorLine()) << text.err;
    EXPECT_NE(text.out.find("b.wav' starts 0.5 s"), std::string::npos) << text.out;
    EXPECT_EQ(json.exitCode, 1);
    EXPECT_TRUE(json.HasOneErrorLine()) << json.err;
    EXPECT_TRUE(json.Json().at("error").is_string());
    const nlohmann::json results = json.Json().at("results");
    ASSERT_EQ(results.size(), 3U);
    for (const std::size_t bad : {0U, 1U}) {
        const std::string name = shop_.Work(bad == 0 ? "gone.wav" : "text.wav").string();
        EXPECT_EQ(results.at(bad).at("a"), shop_.Work("a.wav").string());
        EXPECT_EQ(results.at(bad).at("b"), name);
        EXPECT_NE(results.at(bad).at("error").get<std::string>().find(name), std::string::npos);
        EXPECT_FALSE(results.at(bad).contains("verdict"));
    }
    EXPECT_EQ(results.at(2).at("offset"), -4000);
    EXPECT_FALSE(results.at(2).contains("error"));
}

TEST_F(AlignProgram, ABadFirstInputIsTheErrorOfEveryPair) {
    for (const char* name : {"a.wav", "b.wav"}) Write(name, Talk(6, 1));

    const ProgramResult result =
        Run({"@gone.wav", "@a.wav", "@b.wav", "--json", "--otio", "@sync.otio"});

    EXPECT_EQ(result.exitCode, 1);
    const nlohmann::json results = result.Json().at("results");
    ASSERT_EQ(results.size(), 2U);
    for (const nlohmann::json& pair : results) {
        EXPECT_NE(pair.at("error").get<std::string>().find("gone.wav"), std::string::npos);
    }
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("sync.otio")));
}

TEST_F(AlignProgram, ABadInputOutranksAPairBelowTheBound) {
    Write("a.wav", Talk(6, 1));
    Write("silence.wav", Sound(4 * RATE, 0.0));

    const ProgramResult result = Run({"@a.wav", "@silence.wav", "@gone.wav", "--json"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.Json().at("results").at(0).at("verdict"), "unrelated");
    EXPECT_NE(result.err.find("gone.wav"), std::string::npos);
}

TEST_F(AlignProgram, ABadInputIsNeverAnOutput) {
    Write("a.wav", Talk(6, 1));
    WriteFile(shop_.Work("text.wav"), "no sound at all");

    EXPECT_EQ(Run({"@a.wav", "@text.wav", "--otio", "@text.wav"}).exitCode, 2);

    EXPECT_EQ(ReadFile(shop_.Work("text.wav")), "no sound at all");
}

TEST_F(AlignProgram, ProgressIsToldAsJsonLines) {
    const Sound talk = Talk(14, 1);
    Write("a.wav", With(Hiss(16, 2), talk, 1.5));
    Write("b.wav", With(Hiss(30, 3), talk, 9.0));

    const ProgramResult result = Run({"@a.wav", "@b.wav", "--progress", "json"});

    EXPECT_NE(result.err.find("\"step\":\"conform\""), std::string::npos);
    EXPECT_NE(result.err.find("\"step\":\"align\""), std::string::npos);
}

TEST_F(AlignProgram, ASecondRunFindsTheFilesOfTheFirst) {
    Write("a.wav", Talk(6, 1));
    Run({"@a.wav", "@a.wav"});
    const auto files = [&] {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(shop_.Path("cache"))) {
            // The folder also contains the hidden file of the locks.
            if (!entry.path().extension().empty()) names.insert(entry.path().filename().string());
        }
        return names;
    };
    const std::set<std::string> first = files();

    Run({"@a.wav", "@a.wav"});

    EXPECT_EQ(first.size(), 2U);  // one conformed file and one peak file
    EXPECT_EQ(files(), first);
}

}  // namespace
}  // namespace sonrel_tests
