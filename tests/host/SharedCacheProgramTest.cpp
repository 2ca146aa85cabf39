// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include "tests/host/ProgramRun.h"
#include "tests/support/AnotherProcess.h"
#include "tests/support/Database.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

/// Two programs that use one cache, one of which is this test.
class SharedCacheProgram : public testing::Test {
protected:
    void SetUp() override { WriteFile(shop_.Work("a.wav"), ConformedFileBytes(4800)); }

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

/// Runs a command in a folder that is on a read-only file system.
/// @return the exit code, 90 where the file system cannot be mounted
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
