// SPDX-License-Identifier: MIT

// The outputs of align, wrong usage and bad inputs.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "tests/host/align/AlignRig.h"

namespace sonrel_tests {
namespace {

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
    EXPECT_EQ(count("class=\"difference\""), 2);
    EXPECT_GE(count(">0:01"), 1);  // the time axis
}

TEST_F(AlignProgram, EachOfSeveralPairsHasAPlot) {
    const Sound talk = Talk(3, 1);
    for (const char* name : {"a.wav", "b.wav", "c.wav"}) Write(name, With(Hiss(4, 2), talk, 0.5));

    Run({"@a.wav", "@b.wav", "@c.wav", "--plot", "@plot.svg"});

    EXPECT_TRUE(std::filesystem::exists(shop_.Work("plot-1.svg")));
    EXPECT_TRUE(std::filesystem::exists(shop_.Work("plot-2.svg")));
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("plot.svg")));
    EXPECT_NE(ReadFile(shop_.Work("plot-1.svg")).find("left silent, right silent"),
              std::string::npos);
}

TEST_F(AlignProgram, TheTimelineContainsTheRecordingsInSync) {
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

TEST_F(AlignProgram, TheTimelineStartsWithTheEarliestRecording) {
    const Sound talk = Talk(6, 1);
    Write("a.wav", With(Hiss(8, 2), talk, 0.4));
    Write("b.wav", With(Hiss(9, 3), talk, 2.0));

    Run({"@a.wav", "@b.wav", "--otio", "@sync.otio"});
    const nlohmann::json info = shop_.Run({"info", "@sync.otio", "--json"}).Json();

    EXPECT_EQ(info.at("tracks").at(0).at("objects").at(0).at("startFrame"), 40);
    EXPECT_EQ(info.at("tracks").at(1).at("objects").at(0).at("startFrame"), 0);
}

TEST_F(AlignProgram, TheTimelineOmitsARecordingThatDoesNotAlign) {
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

TEST_F(AlignProgram, WithoutACacheAlignIsWrongUsage) {
    Write("a.wav", Talk(1, 1));

    const ProgramResult result = shop_.RunBare({"--no-cache-db", "align", "@a.wav", "@a.wav"});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.HasOneErrorLine());
}

TEST_F(AlignProgram, AFileThatIsMissingOrHasNoSoundExits1AndIsNamed) {
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

TEST_F(AlignProgram, ABadInputTakesPrecedenceOverAPairBelowTheBound) {
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

TEST_F(AlignProgram, ProgressIsReportedAsJsonLines) {
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
