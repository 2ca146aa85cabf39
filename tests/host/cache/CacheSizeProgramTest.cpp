// SPDX-License-Identifier: MIT

// The limit of the size of the cache.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/CacheFileUse.h"
#include "tests/host/FaultRun.h"
#include "tests/host/ProgramRun.h"
#include "tests/support/Database.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;
using orlo::sonrel::CacheFolderUse;

/// A cache with the conformed files of three recordings: a was used longest ago, and c last.
class CacheSizeProgram : public testing::Test {
protected:
    void SetUp() override {
        for (const auto& [name, frames] : {std::pair("a", 4800), {"b", 9600}, {"c", 14400}}) {
            WriteFile(shop_.Work(std::string(name) + ".wav"), ConformedFileBytes(frames));
        }
        const nlohmann::json files =
            shop_.Run({"conform", "@a.wav", "@b.wav", "@c.wav", "--json"}).Json().at("files");
        for (const std::size_t i : {0U, 1U, 2U}) files_[i] = files.at(i).at("path");
        SetHoursWithoutUse("a", 3);
        SetHoursWithoutUse("b", 2);
        SetHoursWithoutUse("c", 1);
    }

    void SetHoursWithoutUse(const std::string& name, int hours) {
        RawDatabase(shop_.Path("media.db"))
            .Run("UPDATE conformed_file SET last_use = last_use - 3600000 * " +
                 std::to_string(hours) + " WHERE media_path = '" +
                 shop_.Work(name + ".wav").string() + "'");
    }

    /// Bytes of the files a, b and c, in this order.
    long long Size(std::size_t file) const {
        return static_cast<long long>(fs::file_size(files_[file]));
    }

    /// The names of the recordings with a file: "abc".
    std::string Left() const {
        std::string names;
        for (const std::size_t i : {0U, 1U, 2U}) {
            if (fs::exists(files_[i])) names += "abc"[i];
        }
        return names;
    }

    nlohmann::json CleanTo(long long bytes) const {
        return shop_.Run({"cache", "clean", "--max-size", std::to_string(bytes), "--json"}).Json();
    }

    /// Marks a file as used by this process, which is another program for the program under test.
    std::unique_ptr<CacheFolderUse> Use(std::size_t file) {
        const std::wstring folder = zrtl::FromUtf8(shop_.Path("cache").string());
        auto use = std::make_unique<CacheFolderUse>(folder);
        CacheFolderUse::Mark(folder, zrtl::FromUtf8(fs::path(files_[file]).filename().string()));
        return use;
    }

    Workshop shop_;
    std::string files_[3];
};

TEST_F(CacheSizeProgram, CleaningRemovesTheLongestUnusedFilesUntilTheSizeFits) {
    const long long c = Size(2);
    const long long bAndC = Size(1) + c;

    EXPECT_EQ(CleanTo(Size(0) + bAndC).at("removed"), 0);
    EXPECT_EQ(Left(), "abc");
    const nlohmann::json first = CleanTo(bAndC);
    EXPECT_EQ(first.at("removed"), 1);
    EXPECT_EQ(first.at("leftBytes"), bAndC);
    EXPECT_EQ(Left(), "bc");
    const nlohmann::json second = CleanTo(bAndC - 1);
    EXPECT_EQ(second.at("removed"), 1);
    EXPECT_EQ(second.at("leftBytes"), c);
    EXPECT_EQ(Left(), "c");

    const auto check = shop_.Run({"cache", "check", "--json"}).Json();
    for (const auto& list : check) EXPECT_TRUE(list.empty()) << check;
}

TEST_F(CacheSizeProgram, ALookUpMakesAFileTheLastUsed) {
    shop_.Run({"conform", "@a.wav"});

    CleanTo(Size(0));

    EXPECT_EQ(Left(), "a");
}

TEST_F(CacheSizeProgram, FilesOfAllKindsAreOneList) {
    const std::string peaks =
        shop_.Run({"peaks", "@b.wav", "--json"}).Json().at("files").at(0).at("path");
    RawDatabase(shop_.Path("media.db")).Run("UPDATE peak_file SET last_use = last_use - 36000000");
    const long long all = Size(0) + Size(1) + Size(2);

    const nlohmann::json report = CleanTo(all);

    EXPECT_EQ(report.at("removed"), 1);
    EXPECT_FALSE(fs::exists(peaks));
    EXPECT_EQ(Left(), "abc");
}

TEST_F(CacheSizeProgram, ADryRunListsTheFilesAndRemovesNothing) {
    const ProgramResult result = shop_.Run(
        {"cache", "clean", "--max-size", std::to_string(Size(2)), "--days", "0", "--dry-run"});
    const ProgramResult bySize =
        shop_.Run({"cache", "clean", "--max-size", std::to_string(Size(2)), "--dry-run", "--json"});

    EXPECT_EQ(Left(), "abc");
    EXPECT_NE(result.out.find("\n3 due, 0 removed"), std::string::npos) << result.out;
    EXPECT_EQ(bySize.Json().at("due"), 2);
    EXPECT_EQ(bySize.Json().at("leftBytes"), Size(2));
}

TEST_F(CacheSizeProgram, FilesWithoutARecordNeitherCountNorChange) {
    WriteFile(shop_.Path("cache/stray.xwmc"), std::string(100000, 'x'));

    EXPECT_EQ(CleanTo(Size(0) + Size(1) + Size(2)).at("removed"), 0);
    EXPECT_EQ(CleanTo(0).at("removed"), 3);

    EXPECT_TRUE(fs::exists(shop_.Path("cache/stray.xwmc")));
}

TEST_F(CacheSizeProgram, TextThatIsNotASizeIsReportedWithOneLine) {
    EXPECT_EQ(shop_.Run({"cache", "clean", "--max-size", "20 GB/s"}).err,
              "sonrel: --max-size: '20 GB/s' is not a size such as 512M or 4G; see 'sonrel cache "
              "clean --help'\n");
    EXPECT_EQ(shop_.Run({"conform", "@a.wav", "--cache-size", "-1"}).err,
              "sonrel: --cache-size: '-1' is not a size such as 512M or 4G; see 'sonrel conform "
              "--help'\n");
    EXPECT_EQ(shop_.Run({"cache", "ls", "--cache-size", ""}).exitCode, 2);
}

// ---- the end of a command

TEST_F(CacheSizeProgram, TheCacheSizeAppliesWhenACommandEndsAndKeepsTheFilesOfTheCommand) {
    // The file of a is the oldest by its record, because the clock was set back.
    SetHoursWithoutUse("b", -100);
    SetHoursWithoutUse("c", -100);

    ASSERT_EQ(shop_.Run({"conform", "@a.wav", "--cache-size", "0"}).exitCode, 0);

    EXPECT_EQ(Left(), "a");
}

TEST_F(CacheSizeProgram, TheCacheSizeHasUnits) {
    // 1 KiB is less than any of the files, and 1 MiB is more than all of them.
    ASSERT_EQ(shop_.Run({"conform", "@c.wav", "--cache-size", "1M"}).exitCode, 0);
    EXPECT_EQ(Left(), "abc");
    ASSERT_EQ(shop_.Run({"conform", "@c.wav", "--cache-size", "1KiB"}).exitCode, 0);
    EXPECT_EQ(Left(), "c");
}

TEST_F(CacheSizeProgram, ACleaningWithoutASizeUsesTheCacheSize) {
    const std::string c = std::to_string(Size(2));

    shop_.Run({"--cache-size", "0", "cache", "clean", "--max-size", c});
    EXPECT_EQ(Left(), "c");
    shop_.Run({"--cache-size", "0", "cache", "clean"});
    EXPECT_EQ(Left(), "");
}

TEST_F(CacheSizeProgram, AFileThatTheSystemDoesNotRemoveIsLoggedAndDoesNotFailTheCommand) {
    fs::remove(files_[0]);
    fs::create_directories(files_[0] + "/full");

    EXPECT_EQ(shop_.Run({"conform", "@c.wav", "--cache-size", "0"}).exitCode, 0);
    EXPECT_EQ(Left(), "ac");
    const ProgramResult clean = shop_.Run({"cache", "clean", "--max-size", "0", "--json"});

    const std::string line = "Could not remove cache file when limiting the size of the cache: " +
                             shop_.Work("a.wav").string() + " " +
                             fs::path(files_[0]).filename().string();
    EXPECT_NE(ReadFile(shop_.Path("CacheErrorLog.txt")).find(line), std::string::npos);
    EXPECT_EQ(clean.exitCode, 1);
    EXPECT_EQ(clean.Json().at("failed"), 1);
    EXPECT_NE(clean.err.find("'" + files_[0] + "': it cannot be removed"), std::string::npos);
}

TEST_F(CacheSizeProgram, ADatabaseThatCannotBeExaminedIsNamedAndDoesNotCountAsEmpty) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer must be the first library";
#endif
    const fs::path database = shop_.Path("media.db");
    const Fault fault{database.parent_path(), "stat", "media.db"};
    const std::vector<std::string> commands[] = {
        {"cache", "ls", "--json"},
        {"cache", "clean", "--dry-run", "--max-size", "0", "--json"},
        {"cache", "clean", "--dry-run", "--days", "0", "--json"}};
    for (const auto& command : commands) {
        const ProgramResult whole = shop_.Run(command);
        ASSERT_EQ(whole.exitCode, 0) << whole.err;
        int failures = 0;
        for (int number = 1;; ++number) {
            const DisturbedRun run = RunWithFault(shop_, fault, number, command);
            if (!run.wasHit) break;
            if (run.result.exitCode == 0) {
                EXPECT_EQ(run.result.out, whole.out) << number;
                continue;
            }
            ++failures;
            EXPECT_EQ(run.result.exitCode, 1) << number;
            EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
            EXPECT_NE(run.result.err.find("'" + database.string() + "'"), std::string::npos)
                << run.result.err;
            EXPECT_EQ(run.result.err.find("move it away"), std::string::npos) << run.result.err;
        }
        EXPECT_GT(failures, 0);
    }
}

TEST_F(CacheSizeProgram, ACacheFolderThatCannotBeExaminedIsNamedWhenOrphansAreRemoved) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer must be the first library";
#endif
    const fs::path folder = shop_.Path("cache"), orphan = folder / "old.xwmc";
    const Fault fault{folder.parent_path(), "stat,open", "cache"};
    int failures = 0;
    for (int number = 1;; ++number) {
        WriteFile(orphan, "half");
        const DisturbedRun run =
            RunWithFault(shop_, fault, number, {"cache", "clean", "--orphans"});
        if (!run.wasHit) break;
        if (run.result.exitCode == 0) {
            EXPECT_FALSE(fs::exists(orphan)) << number;
            continue;
        }
        ++failures;
        EXPECT_EQ(run.result.exitCode, 1) << number;
        EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
        EXPECT_NE(run.result.err.find("'" + folder.string() + "'"), std::string::npos)
            << run.result.err;
    }
    EXPECT_GT(failures, 1);
}

// ---- other programs

TEST_F(CacheSizeProgram, TheNextFileIsRemovedForAFileThatAnotherProgramUses) {
    const auto use = Use(0);

    const ProgramResult result =
        shop_.Run({"cache", "clean", "--max-size", std::to_string(Size(0) + Size(2)), "--json"});

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("removed"), 1);
    EXPECT_EQ(Left(), "ac");
}

TEST_F(CacheSizeProgram, ASizeThatFilesInUsePreventIsAFailureWithTheReason) {
    const auto use = Use(1);

    const ProgramResult result = shop_.Run({"cache", "clean", "--max-size", "0", "--json"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("'" + files_[1] + "': another program uses it"), std::string::npos)
        << result.err;
    EXPECT_EQ(result.Json().at("leftBytes"), Size(1));
    EXPECT_EQ(Left(), "b");
}

TEST_F(CacheSizeProgram, AMixKeepsItsFilesWhileAnotherProgramLimitsTheSize) {
    // A pipe has room for 64 KB, so that the mix waits for its reader.
    WriteFile(shop_.Work("a.wav"), ConformedFileBytes(48000));
    ASSERT_EQ(shop_.Run({"mix", "@a.wav", "-o", "@whole.wav"}).exitCode, 0);
    ASSERT_EQ(mkfifo(shop_.Work("pipe").c_str(), 0600), 0);
    RunningProgram mix = shop_.Start({"mix", "@a.wav", "-o", "@pipe"});
    std::ifstream pipe(shop_.Work("pipe"), std::ios::binary);
    std::string mixed(1, static_cast<char>(pipe.get()));  // the rest waits in the pipe
    SetHoursWithoutUse("a", 10);

    fs::create_directory(shop_.Path("other"));
    const ProgramResult other =
        RunningProgram(shop_.Path("other"),
                       {"--cache", shop_.Path("cache"), "--db", shop_.Path("media.db"), "conform",
                        shop_.Work("b.wav"), "--cache-size", "0"})
            .Wait();
    const std::size_t left = NamesIn(shop_.Path("cache")).size();
    mixed.append(std::istreambuf_iterator<char>(pipe), {});

    EXPECT_EQ(other.exitCode, 0) << other.err;
    EXPECT_EQ(left, 2U) << "the files of both programs";
    EXPECT_EQ(mix.Wait().exitCode, 0);
    EXPECT_TRUE(mixed == ReadFile(shop_.Work("whole.wav")));
}

TEST_F(CacheSizeProgram, AFileThatAnotherProgramUsesMeanwhileStays) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer has to be the first library";
#endif
    // The program lists the files for the days and for the size, each time after the records.
    constexpr int FIRST_OF_SECOND_LIST = 4;
    const Fault stop{shop_.Path("cache"), "stat", "*.xwmc", "0", "all", "stop"};
    RunningProgram clean =
        StartWithFault(shop_, stop, 1, {"cache", "clean", "--max-size", "0", "--json"});
    for (int number = 1; WaitForStop(clean); ++number) {
        if (number == FIRST_OF_SECOND_LIST) SetHoursWithoutUse("b", -2);
        Continue(clean);
    }

    const ProgramResult result = clean.Wait();

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("removed"), 2);
    EXPECT_EQ(Left(), "b");
}

}  // namespace
}  // namespace sonrel_tests
