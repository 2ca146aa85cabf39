// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

/// A stereo WAV of 100 frames at 25 frames a second.
std::string SteadyTone() {
    std::string samples;
    for (int i = 0; i < 4 * 48000; ++i) samples += std::string("\x10\x20\x10\x20", 4);
    return Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) + Chunk("data", samples));
}

/// A timeline whose second clip asks for source timecode that its media file does not have.
class StrictProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("tone.wav"), SteadyTone());
        WriteFile(shop_.Work("edit.otio"),
                  Timeline({Track({Clip("tone.wav", 0, 50), Clip("tone.wav", 90000, 20)})}).dump());
        WriteFile(shop_.Work("good.otio"), Timeline({Track({Clip("tone.wav", 0, 50)})}).dump());
    }

    ProgramResult Run(const std::string& command, const std::string& timeline,
                      std::vector<std::string> more = {}) {
        std::vector<std::string> arguments{command, timeline, "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    static std::string Reason(const ProgramResult& result) {
        const auto entries = result.Json().at("notTakenOver");
        EXPECT_EQ(entries.size(), 1u) << result.out;
        return entries.empty() ? "" : entries.at(0).at("reason").get<std::string>();
    }

    static constexpr const char* ENTRY =
        "it asks for frames 90000 to 90020, the file has 100; "
        "it is silent from 00:00:02:00 to 00:00:02:20";

    Workshop shop_;
};

TEST_F(StrictProgram, EveryCommandReportsAClipThatItsMediaDoNotHave) {
    for (const char* command : {"info", "conform"}) {
        const ProgramResult result = Run(command, "@edit.otio");
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(Reason(result), ENTRY) << command;
    }
    const ProgramResult mix = Run("mix", "@edit.otio", {"-o", "@out.wav"});
    EXPECT_EQ(mix.exitCode, 0) << mix.err;
    EXPECT_EQ(Reason(mix), ENTRY);
    const ProgramResult play = Run("play", "@edit.otio", {"--output", "@out.raw"});
    EXPECT_EQ(play.exitCode, 0) << play.err;
    EXPECT_EQ(Reason(play), ENTRY);
}

TEST_F(StrictProgram, AnEntryExits3WithTheSameReportAndNothingIsWrittenOrPlayed) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> runs{
        {"info", {}},
        {"conform", {}},
        {"mix", {"-o", "@out.wav", "--stems", "@stems", "--meters", "@meters.json"}},
        {"play", {"--output", "@out.raw"}}};
    for (const auto& [command, more] : runs) {
        std::vector<std::string> arguments = more;
        arguments.emplace_back("--strict");
        const ProgramResult result = Run(command, "@edit.otio", arguments);
        EXPECT_EQ(result.exitCode, 3) << command;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find(ENTRY), std::string::npos) << result.err;
        EXPECT_EQ(Reason(result), ENTRY) << command;
    }
    for (const char* name : {"out.wav", "stems", "meters.json", "out.raw"}) {
        EXPECT_FALSE(fs::exists(shop_.Work(name))) << name;
    }
}

TEST_F(StrictProgram, ATimelineWithoutEntriesIsMixedAndPlayed) {
    const ProgramResult mix = Run("mix", "@good.otio", {"-o", "@out.wav", "--strict"});
    const ProgramResult play = Run("play", "@good.otio", {"--output", "@out.raw", "--strict"});

    EXPECT_EQ(mix.exitCode, 0) << mix.err;
    EXPECT_EQ(play.exitCode, 0) << play.err;
    EXPECT_TRUE(fs::exists(shop_.Work("out.wav")));
    EXPECT_TRUE(fs::exists(shop_.Work("out.raw")));
}

TEST_F(StrictProgram, AMixIntoAPipeWritesNoByte) {
    const std::string pipe = shop_.Work("pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);

    const ProgramResult result = Run("mix", "@edit.otio", {"-o", "@pipe", "--strict"});

    EXPECT_EQ(result.exitCode, 3) << result.err;
    char byte = 0;
    EXPECT_EQ(read(reader, &byte, 1), 0);
    close(reader);
}

TEST_F(StrictProgram, ConformNamesTheTimelineOfEachEntry) {
    const ProgramResult result = Run("conform", "@good.otio", {"@edit.otio", "--strict"});

    EXPECT_EQ(result.exitCode, 3) << result.err;
    const auto entries = result.Json().at("notTakenOver");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries.at(0).at("input"), shop_.Work("edit.otio").string());
}

TEST_F(StrictProgram, EachClipOfAMissingMediaFileHasItsEntry) {
    WriteFile(shop_.Work("lost.otio"),
              Timeline({Track({Clip("lost.wav", 0, 10), Clip("lost.wav", 20, 10)})}).dump());

    for (const auto& [command, more] :
         std::vector<std::pair<std::string, std::vector<std::string>>>{
             {"info", {}}, {"mix", {"-o", "@out.wav"}}}) {
        std::vector<std::string> arguments = more;
        arguments.emplace_back("--allow-missing");
        const ProgramResult result = Run(command, "@lost.otio", arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(Reason(result), "its media file is missing; it is silent");
        EXPECT_EQ(result.Json().at("notTakenOver").at(0).at("count"), 2);
    }
}

}  // namespace
}  // namespace sonrel_tests
