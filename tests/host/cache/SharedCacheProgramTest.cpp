// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/CacheFileUse.h"
#include "tests/host/FaultRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/AnotherProcess.h"
#include "tests/support/Database.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::CacheFolderUse;

/// Two programs that use one cache. This test is one of the programs.
class SharedCacheProgram : public testing::Test {
protected:
    void SetUp() override { WriteFile(shop_.Work("a.wav"), ConformedFileBytes(4800)); }

    std::string Conform() {
        return shop_.Run({"conform", "@a.wav", "--json"}).Json().at("files").at(0).at("path");
    }

    std::string Peaks() {
        return shop_.Run({"peaks", "@a.wav", "--json"}).Json().at("files").at(0).at("path");
    }

    /// Runs another program on the cache. Its output is in the folder "other".
    ProgramResult Elsewhere(const std::vector<std::string>& command) const {
        std::vector<std::string> arguments{"--cache", shop_.Path("cache"), "--db",
                                           shop_.Path("media.db")};
        arguments.insert(arguments.end(), command.begin(), command.end());
        return RunningProgram(shop_.Path("other"), arguments).Wait();
    }

    /// Marks a file of the cache as used by this test.
    std::unique_ptr<CacheFolderUse> Use(const std::filesystem::path& file) {
        const std::wstring folder = zrtl::FromUtf8(shop_.Path("cache").string());
        auto use = std::make_unique<CacheFolderUse>(folder);
        CacheFolderUse::Mark(folder, zrtl::FromUtf8(file.filename().string()));
        return use;
    }

    long CacheFileCount() { return static_cast<long>(NamesIn(shop_.Path("cache")).size()); }

    Workshop shop_;
};

TEST_F(SharedCacheProgram, ALockedDatabaseIsNamedWithTheProcessThatHasItLocked) {
    ASSERT_EQ(shop_.Run({"cache", "clean"}).exitCode, 0);
    RawDatabase other(shop_.Path("media.db"));
    other.Run("BEGIN IMMEDIATE");

    for (const char* command : {"conform", "peaks"}) {
        const ProgramResult result = shop_.Run({command, "@a.wav"});

        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(
            result.err.find("cannot use the media database '" + shop_.Path("media.db").string() +
                            "': it is locked by process " + std::to_string(getpid())),
            std::string::npos)
            << result.err;
    }
    other.Run("ROLLBACK");
}

// ---- files in use

TEST_F(SharedCacheProgram, CleaningKeepsAFileThatAnotherProgramUses) {
    const std::string file = Conform();
    auto use = Use(file);

    const ProgramResult kept = shop_.Run({"cache", "clean", "--days", "0", "--json"});
    EXPECT_EQ(kept.exitCode, 1);
    EXPECT_NE(kept.err.find("another program uses it"), std::string::npos) << kept.err;
    EXPECT_EQ(kept.Json().at("failed"), 1);
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_EQ(shop_.Run({"conform", "@a.wav", "--json"}).Json().at("files").at(0).at("path"), file);

    use.reset();
    EXPECT_EQ(shop_.Run({"cache", "clean", "--days", "0"}).exitCode, 0);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(SharedCacheProgram, CleaningOrphansKeepsAFileThatIsBeingWritten) {
    Conform();
    const std::string file = shop_.Path("cache/new.xwmc").string();
    WriteFile(file, "half");
    auto use = Use(file);

    EXPECT_EQ(shop_.Run({"cache", "clean", "--orphans", "--json"}).Json().at("due"), 0);
    EXPECT_TRUE(std::filesystem::exists(file));

    use.reset();
    EXPECT_EQ(shop_.Run({"cache", "clean", "--orphans", "--json"}).Json().at("removed"), 1);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(SharedCacheProgram, AnOrphanThatIsAlreadyRemovedIsASuccess) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer has to be the first library";
#endif
    Conform();
    WriteFile(shop_.Path("cache/old.xwmc"), "half");
    const Fault gone{shop_.Path("cache"), "unlink", "old.xwmc", "ENOENT"};
    const ProgramResult result =
        RunWithFault(shop_, gone, 1, {"cache", "clean", "--orphans"}).result;

    EXPECT_TRUE(std::filesystem::exists(shop_.Path("cache/old.xwmc"))) << "no call failed";
    EXPECT_EQ(result.exitCode, 0) << result.err;
}

TEST_F(SharedCacheProgram, WithoutLocksAFileWithoutARecordStaysForADay) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer has to be the first library";
#endif
    namespace fs = std::filesystem;
    const std::string file = Conform();
    for (const int hours : {23, 25}) {
        const std::string name = "cache/" + std::to_string(hours) + ".xwmc";
        WriteFile(shop_.Path(name), "half");
        fs::last_write_time(shop_.Path(name),
                            fs::file_time_type::clock::now() - std::chrono::hours(hours));
    }
    const Fault noLocks{shop_.Path("cache"), "lock", ".sonrel-in-use", "ENOLCK", "all"};

    const DisturbedRun run =
        RunWithFault(shop_, noLocks, 1, {"cache", "clean", "--orphans", "--json"});

    ASSERT_TRUE(run.wasHit);
    EXPECT_EQ(run.result.exitCode, 0) << run.result.err;
    EXPECT_EQ(run.result.Json().at("removed"), 1);
    EXPECT_TRUE(fs::exists(shop_.Path("cache/23.xwmc")));
    EXPECT_FALSE(fs::exists(shop_.Path("cache/25.xwmc")));
    // Everything else works without locks.
    const DisturbedRun conform = RunWithFault(shop_, noLocks, 1, {"conform", "@a.wav", "--json"});
    ASSERT_TRUE(conform.wasHit);
    EXPECT_EQ(conform.result.Json().at("files").at(0).at("path"), file);
    EXPECT_EQ(RunWithFault(shop_, noLocks, 1, {"cache", "clean", "--days", "0"}).result.exitCode,
              0);
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(SharedCacheProgram, AMissingPermissionToReadTheMarksIsTheReasonThatIsReported) {
    const std::string file = Conform();
    namespace fs = std::filesystem;
    fs::create_directory(shop_.Path("other"));
    fs::permissions(shop_.Path("cache/.sonrel-in-use"), fs::perms::none);

    EXPECT_EQ(WithoutOverridingModes([&] {
                  return Elsewhere({"cache", "clean", "--days", "0"}).exitCode;
              }),
              1);

    const std::string error = ReadFile(shop_.Path("other/stderr.txt"));
    EXPECT_NE(error.find("another program may be using it, because '" +
                         shop_.Path("cache/.sonrel-in-use").string() +
                         "' cannot be read: Permission denied"),
              std::string::npos)
        << error;
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(SharedCacheProgram, ForceKeepsTheOldFileForTheProgramThatUsesIt) {
    const std::string old = Conform();
    auto use = Use(old);

    const auto forced = shop_.Run({"conform", "@a.wav", "--force", "--json"}).Json();
    EXPECT_EQ(forced.at("files").at(0).at("status"), "made");
    EXPECT_TRUE(std::filesystem::exists(old));
    EXPECT_EQ(Conform(), forced.at("files").at(0).at("path"));
    EXPECT_TRUE(shop_.Run({"cache", "check", "--json"}).Json().at("orphans").empty());

    use.reset();
    EXPECT_EQ(Conform(), forced.at("files").at(0).at("path"));
    EXPECT_FALSE(std::filesystem::exists(old)) << "the end of any command removes it";
}

TEST_F(SharedCacheProgram, AReplacedFileThatIsInUseIsNotAFaultOfTheCache) {
    auto conformed = Use(Conform());
    auto peaks = Use(Peaks());
    ASSERT_EQ(shop_.Run({"conform", "@a.wav", "--force"}).exitCode, 0);
    ASSERT_EQ(shop_.Run({"peaks", "@a.wav", "--force"}).exitCode, 0);
    ASSERT_EQ(CacheFileCount(), 4);

    const ProgramResult check = shop_.Run({"cache", "check", "--deep", "--json"});

    EXPECT_EQ(check.exitCode, 0) << check.err;
    for (const auto& list : check.Json()) EXPECT_TRUE(list.empty()) << check.out;
}

TEST_F(SharedCacheProgram, AReplacedFileThatIsInUseAndChangedIsBroken) {
    const std::string old = Conform();
    auto use = Use(old);
    ASSERT_EQ(shop_.Run({"conform", "@a.wav", "--force"}).exitCode, 0);
    std::string bytes = ReadFile(old);
    bytes.back() ^= 1;
    WriteFile(old, bytes);

    const ProgramResult check = shop_.Run({"cache", "check", "--deep", "--json"});

    EXPECT_EQ(check.exitCode, 1);
    EXPECT_EQ(check.Json().at("broken").size(), 1u);
}

TEST_F(SharedCacheProgram, ABrokenPeakFileStaysForTheProgramThatUsesIt) {
    const std::string old = Peaks();
    std::filesystem::resize_file(old, 25);
    auto use = Use(old);

    const std::string made = Peaks();

    EXPECT_NE(made, old);
    EXPECT_TRUE(std::filesystem::exists(old));
    EXPECT_TRUE(shop_.Run({"cache", "check", "--json"}).Json().at("orphans").empty());
    use.reset();
    EXPECT_EQ(Peaks(), made);
    EXPECT_FALSE(std::filesystem::exists(old)) << "the end of any command removes it";
}

TEST_F(SharedCacheProgram, AMixKeepsItsFilesWhileAnotherProgramCleans) {
    std::vector<Json> clips;
    for (int i = 0; i < 16; ++i) {
        const std::string name = "m" + std::to_string(i) + ".wav";
        WriteFile(shop_.Work(name), ConformedFileBytes(24000 + i));
        clips.push_back(Clip(name, 0, 12));
    }
    WriteFile(shop_.Work("edit.otio"), Timeline({Track(clips)}).dump());
    ASSERT_EQ(shop_.Run({"mix", "@edit.otio", "-o", "@whole.wav"}).exitCode, 0);
    ASSERT_EQ(mkfifo(shop_.Work("pipe").c_str(), 0600), 0);
    RunningProgram mix = shop_.Start({"mix", "@edit.otio", "-o", "@pipe"});
    std::ifstream pipe(shop_.Work("pipe"), std::ios::binary);
    std::string mixed(1, static_cast<char>(pipe.get()));  // the rest waits in the pipe

    std::filesystem::create_directory(shop_.Path("other"));
    const ProgramResult clean = Elsewhere({"cache", "clean", "--days", "0", "--orphans"});
    mixed.append(std::istreambuf_iterator<char>(pipe), {});

    EXPECT_EQ(mix.Wait().exitCode, 0);
    EXPECT_TRUE(mixed == ReadFile(shop_.Work("whole.wav")));
    EXPECT_EQ(clean.exitCode, 1);
    EXPECT_EQ(CacheFileCount(), 16);
}

// ---- reasons

/// Runs a command in a folder that is on a read-only file system.
/// @return the exit code, 90 when the file system cannot be mounted
int RunOnReadOnly(const Workshop& shop, const std::vector<std::string>& arguments) {
    return InAnotherProcess([&] {
        if (unshare(CLONE_NEWNS) != 0) return 90;
        if (mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return 90;
        const std::string frozen = shop.Path("frozen").string();
        if (mount(frozen.c_str(), frozen.c_str(), nullptr, MS_BIND, nullptr) != 0) return 90;
        constexpr unsigned long FLAGS = MS_BIND | MS_REMOUNT | MS_RDONLY;
        if (mount("", frozen.c_str(), nullptr, FLAGS, nullptr) != 0) return 90;
        return shop.RunBare(arguments).exitCode;
    });
}

TEST_F(SharedCacheProgram, AReadOnlyFileSystemIsTheReasonThatIsReported) {
    std::filesystem::create_directory(shop_.Path("frozen"));
    std::filesystem::create_directory(shop_.Path("frozen/cache"));
    const std::string cache = shop_.Path("cache").string();
    const std::string database = shop_.Path("media.db").string();
    const std::string frozen = shop_.Path("frozen").string();
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--cache", cache, "--db", frozen + "/media.db", "conform", "@a.wav"},
         "'" + frozen + "/media.db': it is on a read-only file system"},
        {{"--cache", frozen + "/cache", "--db", database, "conform", "@a.wav"},
         "'" + frozen + "/cache' is on a read-only file system"},
        {{"--cache", frozen + "/new", "--db", database, "conform", "@a.wav"},
         "'" + frozen + "/new': it is on a read-only file system"}};

    for (const auto& [arguments, words] : cases) {
        const int code = RunOnReadOnly(shop_, arguments);
        if (code == 90) GTEST_SKIP() << "this user may not mount a file system";

        EXPECT_EQ(code, 1);
        const std::string error = ReadFile(shop_.Path("stderr.txt"));
        EXPECT_NE(error.find(words), std::string::npos) << error;
        EXPECT_EQ(error.find("move it away"), std::string::npos) << error;
    }
}

}  // namespace
}  // namespace sonrel_tests
