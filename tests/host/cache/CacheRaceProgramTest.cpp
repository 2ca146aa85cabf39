// SPDX-License-Identifier: MIT

// Programs that change one cache at the same time. The program under test is stopped at a chosen
// file operation, and the test then acts as the other program.
#include <gmock/gmock.h>

#include "sonrel/cache/CacheFileCheck.h"
#include "tests/host/FaultRun.h"
#include "tests/support/Database.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

/// A command that makes cache files of one kind.
struct Maker {
    const char* command;
    const char* table;
    const char* ending;
};
constexpr Maker CONFORM = {"conform", "conformed_file", ".xwmc"};
constexpr Maker PEAKS = {"peaks", "peak_file", ".xwpk"};

class CacheRace : public testing::TestWithParam<Maker> {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer has to be the first library";
#endif
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(4800));
    }

    RunningProgram StartStopping(const std::string& operations,
                                 const std::vector<std::string>& arguments) const {
        const Fault stop{shop_.Path("cache"),
                         operations,
                         std::string("*") + GetParam().ending,
                         "0",
                         "all",
                         "stop"};
        return StartWithFault(shop_, stop, 1, arguments);
    }

    /// Records a file of another program that this program has already removed.
    void RecordTheirs() const {
        const std::wstring media = zrtl::FromUtf8(shop_.Work("a.wav").string());
        const std::string fingerprint =
            zrtl::ToUtf8(orlo::sonrel::CacheFileCheck::MediaFingerprint(media));
        const std::string rate = GetParam().table == CONFORM.table ? "48000, " : "";
        Database().Run(std::string("INSERT OR REPLACE INTO ") + GetParam().table + " VALUES ('" +
                       shop_.Work("a.wav").string() + "', '" + fingerprint + "', 0, " + rate +
                       "'theirs" + GetParam().ending + "', 0, NULL)");
    }
    void RemoveTheirs() const {
        Database().Run(std::string("DELETE FROM ") + GetParam().table +
                       " WHERE cache_filename = 'theirs" + GetParam().ending + "'");
    }
    RawDatabase Database() const {
        return RawDatabase(shop_.Path("media.db"));
    }

    ProgramResult Make() const {
        return shop_.Run({GetParam().command, "@a.wav", "--json"});
    }
    /// Another program recreates the file while the program under test runs.
    ProgramResult ForceElsewhere() const {
        fs::create_directory(shop_.Path("other"));
        return RunningProgram(shop_.Path("other"),
                              {"--cache", shop_.Path("cache"), "--db", shop_.Path("media.db"),
                               GetParam().command, shop_.Work("a.wav"), "--force"})
            .Wait();
    }
    static std::string PathOf(const ProgramResult& result) {
        return result.Json().at("files").at(0).at("path");
    }

    /// Whether the command made a file that is found again and is the only file of the cache.
    void ExpectMade(const ProgramResult& result) const {
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.Json().at("files").at(0).at("status"), "made");
        EXPECT_EQ(PathOf(Make()), PathOf(result));
        EXPECT_EQ(shop_.Run({"cache", "check", "--deep"}).exitCode, 0);
    }

    const Workshop shop_;
};

INSTANTIATE_TEST_SUITE_P(Kinds, CacheRace, testing::Values(CONFORM, PEAKS),
                         [](const testing::TestParamInfo<Maker>& test) {
                             return test.param.table == CONFORM.table ? "Conform" : "Peaks";
                         });

TEST_P(CacheRace, AFileIsMadeAlthoughOtherProgramsRecordTheirFilesFirst) {
    RunningProgram program = StartStopping("fsync", {GetParam().command, "@a.wav", "--json"});

    int conversions = 0;
    for (; WaitForStop(program); ++conversions) {
        // The third file replaces the record.
        RecordTheirs();
        Continue(program);
    }

    EXPECT_EQ(conversions, 3);
    ExpectMade(program.Wait());
}

TEST_P(CacheRace, AFileIsMadeWhenTheRecordOfAnotherProgramDisappears) {
    RunningProgram program =
        StartStopping("fsync,unlink", {GetParam().command, "@a.wav", "--json"});

    ASSERT_TRUE(WaitForStop(program)) << "when the file is complete";
    RecordTheirs();
    Continue(program);
    ASSERT_TRUE(WaitForStop(program)) << "when the refused file is removed";
    RemoveTheirs();
    Continue(program);
    while (WaitForStop(program)) Continue(program);

    ExpectMade(program.Wait());
}

TEST_P(CacheRace, AFileThatIsReplacedDuringACheckIsNotAFault) {
    Make();
    RunningProgram check = StartStopping("open", {"cache", "check", "--deep", "--json"});
    ASSERT_TRUE(WaitForStop(check)) << "when the files are listed";
    ASSERT_EQ(ForceElsewhere().exitCode, 0);

    Continue(check);
    while (WaitForStop(check)) Continue(check);

    const ProgramResult result = check.Wait();
    EXPECT_EQ(result.exitCode, 0) << result.err << result.out;
    for (const auto& list : result.Json()) EXPECT_THAT(list, IsEmpty()) << result.out;
}

TEST_P(CacheRace, AFailedForceKeepsTheOldFileItsRecordAndItsChecksum) {
    const std::string old = PathOf(Make());
    const std::string bytes = ReadFile(old);
    const std::vector<Fault> faults = {{shop_.Path(""), "write,fsync", "media.db*"},
                                       {shop_.Path("cache"), "create,write,fsync,close", "*.xw*"}};
    int failures = 0;
    for (const Fault& fault : faults) {
        for (int number = 1;; number += 1 + number / 4) {
            const std::string before = PathOf(Make());
            const DisturbedRun run =
                RunWithFault(shop_, fault, number, {GetParam().command, "@a.wav", "--force"});
            if (!run.wasHit) break;
            failures += run.result.exitCode != 0;

            const ProgramResult check = shop_.Run({"cache", "check", "--deep", "--json"});
            EXPECT_EQ(check.exitCode, 0) << number << check.out;
            EXPECT_THAT(check.Json().at("noChecksum"), IsEmpty()) << number;
            const std::string after = PathOf(Make());
            EXPECT_EQ(run.result.exitCode == 0, after != before) << number;
            EXPECT_TRUE(ReadFile(after) == bytes);
        }
    }
    EXPECT_GT(failures, 3);
}

}  // namespace
}  // namespace sonrel_tests
