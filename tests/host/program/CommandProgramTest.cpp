// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/Database.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

class CommandProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(4800));
        WriteFile(shop_.Work("b.wav"), ConformedFileBytes(9600));
    }

    nlohmann::json ConformAll() {
        return shop_.Run({"conform", "@a.wav", "@b.wav", "--jobs", "2", "--json"}).Json();
    }

    /// Moves the last use of every record into the past.
    void Age(int days) {
        RawDatabase(shop_.Path("media.db"))
            .Run("UPDATE conformed_file SET last_use = last_use - 86400000 * " +
                 std::to_string(days));
    }

    Workshop shop_;
};

// ---- usage

TEST_F(CommandProgram, WrongUsageExits2WithASingleLine) {
    const std::vector<std::vector<std::string>> lines = {
        {},
        {"frobnicate"},
        {"mix"},
        {"mix", "@a.wav"},
        {"mix", "@a.wav", "-o"},
        {"mix", "@a.wav", "-o", "@o.wav", "--seed", "0"},
        {"mix", "@a.wav", "-o", "@o.wav", "--dither", "loud"},
        {"mix", "@a.wav", "-o", "@o.wav", "--from", "soon"},
        {"mix", "@a.wav", "-o", "@o.wav", "--from", "9s"},
        {"info", "@a.wav", "--bogus"},
        {"--rate", "0", "info", "@a.wav"},
        {"--fps", "0", "info", "@a.wav"},
        {"--media-root", "x", "info", "@a.wav"},
        {"cache"},
        {"cache", "clean", "--days", "-1"},
    };
    for (const auto& line : lines) {
        const ProgramResult result = shop_.Run(line);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(line);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
}

TEST_F(CommandProgram, AnUnknownOptionIsReportedBeforeAMissingOption) {
    EXPECT_EQ(shop_.Run({"mix", "x", "--output", "y"}).err,
              "sonrel: unknown option '--output'; see 'sonrel mix --help'\n");
    EXPECT_EQ(shop_.Run({"mix", "--output=y", "x"}).err,
              "sonrel: unknown option '--output'; see 'sonrel mix --help'\n");
    EXPECT_EQ(shop_.Run({"info", "@a.wav", "more", "--bogus"}).err,
              "sonrel: unknown option '--bogus'; see 'sonrel info --help'\n");
    EXPECT_EQ(shop_.Run({"mix", "x"}).err, "sonrel: '-o' is missing; see 'sonrel mix --help'\n");
}

TEST_F(CommandProgram, AWrongValueIsReportedWithItsOptionAndTheAllowedValues) {
    const std::vector<std::string> mix{"mix", "@a.wav", "-o", "@o.wav"};
    const auto error = [&](const std::string& option, const std::string& value) {
        std::vector<std::string> words = mix;
        words.insert(words.end(), {option, value});
        return shop_.Run(words).err;
    };

    EXPECT_EQ(error("--seed", "0"),
              "sonrel: --seed: '0' is not a whole number from 1 to 4294967295, nor random; see "
              "'sonrel mix --help'\n");
    EXPECT_EQ(error("--dither", "loud"),
              "sonrel: --dither: 'loud' is not one of none, triangular, highpass; see 'sonrel mix "
              "--help'\n");
    EXPECT_EQ(error("--rate", "63"),
              "sonrel: --rate: '63' is not a whole number from 64 to 768000; see 'sonrel mix "
              "--help'\n");
    EXPECT_EQ(error("--fps", "-1"),
              "sonrel: --fps: '-1' is not a frame rate above 0; see 'sonrel mix --help'\n");
    EXPECT_EQ(error("--stems", ""),
              "sonrel: --stems: the name must not be empty; see 'sonrel mix --help'\n");
}

TEST_F(CommandProgram, ANumberWithLeadingZerosIsDecimal) {
    EXPECT_EQ(shop_.Run({"--rate", "044100", "info", "@a.wav", "--json"}).Json().at("rate"), 44100);
}

TEST_F(CommandProgram, AnOptionWithoutAValueAndARepeatedOptionAreReported) {
    EXPECT_EQ(shop_.Run({"mix", "@a.wav", "-o"}).err,
              "sonrel: -o needs a value; see 'sonrel mix --help'\n");
    EXPECT_EQ(shop_.Run({"mix", "@a.wav", "-o", "@o.wav", "--to", "1", "--to"}).err,
              "sonrel: --to needs a value; see 'sonrel mix --help'\n");
    EXPECT_EQ(shop_.Run({"mix", "@a.wav", "-o", "@o.wav", "--to", "1", "--to", "2"}).err,
              "sonrel: --to is given more than once; see 'sonrel mix --help'\n");
    EXPECT_EQ(shop_.RunBare({"--rate"}).err, "sonrel: --rate needs a value; see 'sonrel --help'\n");
}

TEST_F(CommandProgram, HelpIsPrintedDespiteAWrongValue) {
    const ProgramResult result = shop_.RunBare({"mix", "--seed", "0", "--size", "--help"});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.find("Usage: sonrel mix") != std::string::npos) << result.out;
}

TEST_F(CommandProgram, UnexpectedArgumentsAreReportedInOrder) {
    EXPECT_EQ(shop_.Run({"info", "a", "b"}).err,
              "sonrel: unexpected argument 'b'; see 'sonrel info --help'\n");
    EXPECT_EQ(shop_.Run({"info", "a", "b", "c d", "e"}).err,
              "sonrel: unexpected arguments 'b', 'c d', 'e'; see 'sonrel info --help'\n");
    EXPECT_EQ(shop_.Run({"info", "a", "-"}).err,
              "sonrel: unexpected argument '-'; see 'sonrel info --help'\n");
}

TEST_F(CommandProgram, AnUnknownCommandIsReported) {
    EXPECT_EQ(shop_.RunBare({"frobnicate"}).err,
              "sonrel: unknown command 'frobnicate'; see 'sonrel --help'\n");
    EXPECT_EQ(shop_.RunBare({"cache", "frobnicate"}).err,
              "sonrel: unknown command 'frobnicate'; see 'sonrel cache --help'\n");
    EXPECT_EQ(shop_.RunBare({}).err, "sonrel: a command is missing; see 'sonrel --help'\n");
    EXPECT_EQ(shop_.RunBare({"cache"}).err,
              "sonrel: a command is missing; see 'sonrel cache --help'\n");
}

TEST_F(CommandProgram, AFailureWithJsonIsAnObjectWithTheError) {
    EXPECT_TRUE(shop_.Run({"--json", "frobnicate"}).Json().at("error").is_string());
    EXPECT_TRUE(shop_.Run({"info", "@gone.wav", "--json"}).Json().at("error").is_string());
}

TEST_F(CommandProgram, MessagesOfTheMediaLibraryAreNotPrinted) {
    WriteFile(shop_.Work("broken.wav"), Riff(Chunk("data", "samples!")));  // no format chunk

    const ProgramResult result = shop_.Run({"info", "@broken.wav"});

    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
}

TEST_F(CommandProgram, GlobalOptionsMayBeBeforeOrAfterTheCommand) {
    EXPECT_EQ(shop_.Run({"--json", "--rate", "44100", "info", "@a.wav"}).Json().at("rate"), 44100);
    EXPECT_EQ(shop_.Run({"info", "@a.wav", "--rate", "44100", "--json"}).Json().at("rate"), 44100);
}

TEST_F(CommandProgram, HelpAndVersionArePrintedOnStandardOutput) {
    EXPECT_EQ(shop_.RunBare({"--help"}).exitCode, 0);
    EXPECT_TRUE(shop_.RunBare({"--version"}).out.starts_with("sonrel "));
}

// ---- info

TEST_F(CommandProgram, InfoOnAMediaFileListsItsStreams) {
    const nlohmann::json report = shop_.Run({"info", "@a.wav", "--json"}).Json();

    EXPECT_EQ(report.at("kind"), "media");
    EXPECT_EQ(report.at("fps"), 25.0);
    const nlohmann::json& stream = report.at("media").at(0).at("streams").at(0);
    EXPECT_EQ(stream.at("samples"), 4800);
    EXPECT_EQ(stream.at("channels"), 2);
}

TEST_F(CommandProgram, InfoOnATimelineListsItsObjects) {
    WriteFile(shop_.Work("edit.otio"),
              Timeline({Track({Gap(10), Clip("a.wav", 1, 2)}, "Voice")}).dump());

    const nlohmann::json report = shop_.Run({"info", "@edit.otio", "--json"}).Json();

    EXPECT_EQ(report.at("kind"), "timeline");
    EXPECT_EQ(report.at("frames"), 12);
    const nlohmann::json& object = report.at("tracks").at(0).at("objects").at(0);
    EXPECT_EQ(object.at("media"), shop_.Work("a.wav").string());
    EXPECT_EQ(object.at("startFrame"), 10);
    EXPECT_EQ(object.at("endFrame"), 12);
    EXPECT_EQ(object.at("sourceStartFrame"), 1);
    EXPECT_EQ(object.at("speed"), 1.0);
    EXPECT_EQ(object.at("muted"), false);
}

TEST_F(CommandProgram, InfoOnATimelineFolderReadsItsContent) {
    std::filesystem::create_directory(shop_.Work("edit.otiod"));
    std::filesystem::create_directory(shop_.Work("edit.otiod/media"));
    WriteFile(shop_.Work("edit.otiod/media/c.wav"), ConformedFileBytes(4800));
    WriteFile(shop_.Work("edit.otiod/content.otio"),
              Timeline({Track({Clip("media/c.wav", 0, 2)})}).dump());

    EXPECT_EQ(shop_.Run({"info", "@edit.otiod"}).exitCode, 0);
}

TEST_F(CommandProgram, InfoWithMissingMediaExits3AndReportsTheRest) {
    WriteFile(shop_.Work("bad.wav"), "no sound at all");
    WriteFile(shop_.Work("edit.otio"),
              Timeline({Track({Clip("bad.wav", 0, 2), Clip("gone.wav", 0, 2)})}).dump());

    const ProgramResult result = shop_.Run({"info", "@edit.otio", "--json"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_EQ(result.Json().at("missing").at(0), shop_.Work("gone.wav").string());
    EXPECT_TRUE(result.Json().contains("error"));
}

// ---- missing media and missing inputs

TEST_F(CommandProgram, ATimelineWithMissingMediaExits3InEveryCommandThatReadsTimelines) {
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("gone.wav", 0, 2)})}).dump());
    const std::vector<std::vector<std::string>> lines = {
        {"info", "@edit.otio"},
        {"conform", "@edit.otio"},
        {"mix", "@edit.otio", "-o", "@out.wav"},
        {"play", "@edit.otio", "--output", "@out.raw"},
        {"peaks", "@edit.otio"},
        {"peaks", "@edit.otio", "-o", "@out.xwpk"},
        {"peaks", "@edit.otio", "--export", "@out.json"},
    };
    for (const auto& line : lines) {
        const ProgramResult result = shop_.Run(line);
        EXPECT_EQ(result.exitCode, 3) << testing::PrintToString(line);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find("gone.wav"), std::string::npos) << result.err;
        EXPECT_NE(result.err.find("--allow-missing"), std::string::npos) << result.err;
    }
}

/// A second of noise, which align can match with itself.
std::string NoiseFile() {
    std::mt19937 engine(1);
    std::string data(2 * 48000, '\0');
    for (char& byte : data) byte = static_cast<char>(engine());
    return Riff(Chunk("fmt ", PcmFormat(1, 1, 48000, 16)) + Chunk("data", data));
}

TEST_F(CommandProgram, EveryCommandAcceptsAllowMissing) {
    WriteFile(shop_.Work("noise.wav"), NoiseFile());
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("gone.wav", 0, 2)})}).dump());
    const std::vector<std::vector<std::string>> lines = {
        {"info", "@edit.otio", "--allow-missing"},
        {"conform", "@edit.otio", "--allow-missing"},
        {"mix", "@edit.otio", "-o", "@out.wav", "--allow-missing"},
        {"play", "@edit.otio", "--output", "@out.raw", "--allow-missing"},
        {"peaks", "@edit.otio", "--allow-missing"},
        {"waveform", "@a.wav", "-o", "@out.png", "--allow-missing"},
        {"align", "@noise.wav", "@noise.wav", "--allow-missing"},
        {"cache", "ls", "--allow-missing"},
        {"--allow-missing", "info", "@edit.otio"},
    };
    for (const auto& line : lines) {
        const ProgramResult result = shop_.Run(line);
        EXPECT_EQ(result.exitCode, 0) << testing::PrintToString(line) << result.err;
    }
}

TEST_F(CommandProgram, AnInputThatDoesNotExistExits1InEveryCommand) {
    const std::vector<std::vector<std::string>> lines = {
        {"info"},
        {"conform"},
        {"mix", "-o", "@out.wav"},
        {"play", "--output", "@out.raw"},
        {"peaks"},
        {"peaks", "-o", "@out.xwpk"},
        {"waveform", "-o", "@out.png"},
        {"align", "@a.wav"},
    };
    for (auto line : lines) {
        line.insert(line.end(), {"@gone.wav", "--allow-missing"});
        const ProgramResult result = shop_.Run(line);
        EXPECT_EQ(result.exitCode, 1) << testing::PrintToString(line);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find("gone.wav"), std::string::npos) << result.err;
    }
    for (const char* command : {"info", "conform", "peaks"}) {
        EXPECT_EQ(shop_.Run({command, "@gone.otio"}).exitCode, 1) << command;
    }
}

TEST_F(CommandProgram, AnAllowedMissingMediaFileIsNotAnError) {
    WriteFile(shop_.Work("edit.otio"),
              Timeline({Track({Clip("gone.wav", 0, 2), Clip("a.wav", 0, 2)})}).dump());
    for (const char* command : {"conform", "peaks"}) {
        const nlohmann::json refused = shop_.Run({command, "@edit.otio", "--json"}).Json();
        EXPECT_EQ(refused.at("files").at(0).at("status"), "failed");
        EXPECT_TRUE(refused.at("files").at(0).at("error").is_string());
        EXPECT_EQ(refused.at("files").at(1).at("status"), "made");

        const nlohmann::json allowed =
            shop_.Run({command, "@edit.otio", "--allow-missing", "--json"}).Json();
        EXPECT_EQ(allowed.at("files").at(0).at("status"), "missing");
        EXPECT_TRUE(allowed.at("files").at(0).at("error").is_null());
        EXPECT_TRUE(allowed.at("files").at(0).at("path").is_null());
        EXPECT_EQ(allowed.at("files").at(1).at("status"), "found");
    }
}

TEST_F(CommandProgram, AFailedInputTakesPrecedenceOverMissingMedia) {
    WriteFile(shop_.Work("bad.wav"), "no sound at all");
    WriteFile(shop_.Work("edit.otio"),
              Timeline({Track({Clip("bad.wav", 0, 2), Clip("gone.wav", 0, 2)})}).dump());

    EXPECT_EQ(shop_.Run({"conform", "@edit.otio", "@a.wav"}).exitCode, 3);
    EXPECT_EQ(shop_.Run({"conform", "@edit.otio", "@other.wav"}).exitCode, 1);
    EXPECT_EQ(shop_.Run({"conform", "@edit.otio", "--allow-missing"}).exitCode, 1);
}

TEST_F(CommandProgram, APeakFileOfAMissingMediaFileCannotBeWritten) {
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("gone.wav", 0, 2)})}).dump());

    const ProgramResult result =
        shop_.Run({"peaks", "@edit.otio", "-o", "@out.xwpk", "--allow-missing"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("gone.wav"), std::string::npos) << result.err;
}

TEST_F(CommandProgram, AMediaFileThatCannotBeReadIsAnErrorWithItsName) {
    WriteFile(shop_.Work("empty.wav"), "");
    WriteFile(shop_.Work("text.wav"), "no sound at all");
    for (const char* name : {"@empty.wav", "@text.wav", "@gone.wav", "/dev/zero", "/"}) {
        const ProgramResult result = shop_.Run({"info", name});
        EXPECT_EQ(result.exitCode, 1) << name;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
}

// ---- conform

TEST_F(CommandProgram, ConformCreatesFilesOnceAndThenFindsThem) {
    const nlohmann::json made = ConformAll();
    const nlohmann::json found = ConformAll();

    ASSERT_EQ(made.at("files").size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(made.at("files").at(i).at("status"), "made");
        EXPECT_EQ(found.at("files").at(i).at("status"), "found");
        EXPECT_EQ(made.at("files").at(i).at("path"), found.at("files").at(i).at("path"));
        EXPECT_TRUE(std::filesystem::exists(made.at("files").at(i).at("path")));
    }
}

TEST_F(CommandProgram, ConformForceCreatesAFileAgainAndRemovesTheOldFile) {
    const std::string old = ConformAll().at("files").at(0).at("path");

    const auto report = shop_.Run({"conform", "@a.wav", "--force", "--json"}).Json();

    EXPECT_EQ(report.at("files").at(0).at("status"), "made");
    EXPECT_NE(report.at("files").at(0).at("path"), old);
    EXPECT_FALSE(std::filesystem::exists(old));
}

TEST_F(CommandProgram, ConformContinuesAfterAFailedFile) {
    const ProgramResult result = shop_.Run({"conform", "@gone.wav", "@a.wav", "--json"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_EQ(result.Json().at("files").at(0).at("status"), "failed");
    EXPECT_EQ(result.Json().at("files").at(1).at("status"), "made");
}

TEST_F(CommandProgram, ACacheFolderThatIsAFileIsAnErrorWithItsName) {
    WriteFile(shop_.Path("cache"), "x");

    const ProgramResult result = shop_.Run({"conform", "@a.wav"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find(shop_.Path("cache").string()), std::string::npos);
}

TEST_F(CommandProgram, AFileThatIsNotADatabaseIsAnErrorAndUnchanged) {
    WriteFile(shop_.Path("media.db"), std::string(5000, 'x'));

    const ProgramResult result = shop_.Run({"conform", "@a.wav"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find(shop_.Path("media.db").string()), std::string::npos);
    EXPECT_EQ(ReadFile(shop_.Path("media.db")), std::string(5000, 'x'));
}

// ---- cache

TEST_F(CommandProgram, CacheLsWithoutACacheIsEmptyAndCreatesNothing) {
    const ProgramResult result = shop_.Run({"cache", "ls", "--json"});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.Json().at("files").empty());
    EXPECT_FALSE(std::filesystem::exists(shop_.Path("media.db")));
    EXPECT_FALSE(std::filesystem::exists(shop_.Path("cache")));
}

TEST_F(CommandProgram, CacheLsListsPresentMissingAndOrphanedFiles) {
    const auto files = ConformAll().at("files");
    std::filesystem::remove(files.at(0).at("path").get<std::string>());
    WriteFile(shop_.Path("cache/stray.xwmc"), "x");

    const auto list = shop_.Run({"cache", "ls", "--json"}).Json().at("files");

    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list.at(0).at("state"), "missing");
    EXPECT_EQ(list.at(0).at("media"), shop_.Work("a.wav").string());
    EXPECT_EQ(list.at(1).at("state"), "ok");
    EXPECT_EQ(list.at(1).at("rate"), 48000);
    EXPECT_EQ(list.at(2).at("state"), "orphan");
    EXPECT_EQ(list.at(2).at("file"), "stray.xwmc");
}

TEST_F(CommandProgram, CacheCheckFindsABrokenFile) {
    const std::string path = ConformAll().at("files").at(0).at("path");
    std::filesystem::resize_file(path, 100);

    const auto report = shop_.Run({"cache", "check", "--json"}).Json();

    EXPECT_EQ(report.at("broken").size(), 1u);
    EXPECT_TRUE(report.at("missing").empty());
    EXPECT_TRUE(report.at("orphans").empty());
}

TEST_F(CommandProgram, CacheCleanWithZeroDaysRemovesEverything) {
    ConformAll();

    const auto report = shop_.Run({"cache", "clean", "--days", "0", "--json"}).Json();

    EXPECT_EQ(report.at("due"), 2);
    EXPECT_EQ(report.at("removed"), 2);
    EXPECT_EQ(report.at("failed"), 0);
    EXPECT_GT(report.at("freedBytes"), 4 * (4800 + 9600));
    EXPECT_TRUE(NamesIn(shop_.Path("cache")).empty());
}

TEST_F(CommandProgram, TheDaysOfACleaningApplyToTheEndOfTheCommand) {
    ConformAll();
    Age(40);

    const auto report = shop_.Run({"cache", "clean", "--days", "60", "--json"}).Json();

    EXPECT_EQ(report.at("removed"), 0);
    EXPECT_EQ(NamesIn(shop_.Path("cache")).size(), 2u);
}

TEST_F(CommandProgram, TheDaysOfACleaningTakePrecedenceOverKeepDays) {
    ConformAll();
    Age(40);

    shop_.Run({"--keep-days", "10", "cache", "clean", "--days", "60"});
    EXPECT_EQ(NamesIn(shop_.Path("cache")).size(), 2u);

    const auto report =
        shop_.Run({"--keep-days", "60", "cache", "clean", "--days", "10", "--json"}).Json();
    EXPECT_EQ(report.at("removed"), 2);
    EXPECT_TRUE(NamesIn(shop_.Path("cache")).empty());
}

TEST_F(CommandProgram, ACleaningWithoutDaysUsesKeepDays) {
    ConformAll();
    Age(40);

    EXPECT_EQ(shop_.Run({"--keep-days", "60", "cache", "clean", "--json"}).Json().at("due"), 0);
    EXPECT_EQ(NamesIn(shop_.Path("cache")).size(), 2u);

    EXPECT_EQ(shop_.Run({"cache", "clean", "--json"}).Json().at("removed"), 2);
}

TEST_F(CommandProgram, ADryRunRemovesNothing) {
    ConformAll();

    const auto report =
        shop_.Run({"cache", "clean", "--days", "0", "--keep-days", "0", "--dry-run", "--json"})
            .Json();

    EXPECT_EQ(report.at("due"), 2);
    EXPECT_EQ(report.at("removed"), 0);
    EXPECT_EQ(NamesIn(shop_.Path("cache")).size(), 2u);
}

TEST_F(CommandProgram, OrphansAreRemovedOnlyOnRequestAndOtherFilesAreKept) {
    ConformAll();
    WriteFile(shop_.Path("cache/stray.xwmc"), "x");
    WriteFile(shop_.Path("cache/mine.wav"), "x");
    shop_.Run({"cache", "clean"});
    EXPECT_TRUE(std::filesystem::exists(shop_.Path("cache/stray.xwmc")));

    const auto report = shop_.Run({"cache", "clean", "--orphans", "--json"}).Json();

    EXPECT_EQ(report.at("removed"), 1);
    EXPECT_FALSE(std::filesystem::exists(shop_.Path("cache/stray.xwmc")));
    EXPECT_TRUE(std::filesystem::exists(shop_.Path("cache/mine.wav")));
}

TEST_F(CommandProgram, AFileThatCannotBeRemovedExits1) {
    const std::string path = ConformAll().at("files").at(0).at("path");
    std::filesystem::remove(path);
    std::filesystem::create_directories(path + "/full");

    const ProgramResult result = shop_.Run({"cache", "clean", "--days", "0", "--json"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.Json().at("failed"), 1);
    EXPECT_EQ(result.Json().at("removed"), 1);
}

TEST_F(CommandProgram, KeepDaysAppliesWhenACommandEnds) {
    ConformAll();

    shop_.Run({"--keep-days", "0", "conform", "@a.wav"});

    EXPECT_TRUE(NamesIn(shop_.Path("cache")).empty());
}

}  // namespace
}  // namespace sonrel_tests
