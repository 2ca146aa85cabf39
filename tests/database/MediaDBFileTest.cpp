// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>

#include "sonrel/database/DatabaseObserver.h"
#include "sonrel/database/MediaDB.h"
#include "sonrel/database/detail/DatabaseHooks.h"
#include "tests/support/AnotherProcess.h"
#include "tests/support/Database.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::project::MediaDB;
using sonrel_tests::AsAnyone;
using sonrel_tests::InAnotherProcess;
using sonrel_tests::NamesIn;
using sonrel_tests::RawDatabase;
using sonrel_tests::ReadFile;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;
using testing::Test;

/// Databases that are missing, damaged, locked, of another program, or used by two processes.
class MediaDBFileTest : public Test {
protected:
    ~MediaDBFileTest() override { orlo::project::SetDatabaseBusyTimeout(5000); }

    std::filesystem::path File() const { return folder_ / "media.db"; }

    MediaDB Open(bool createAndMigrate = true) {
        return MediaDB(folder_.Wide("media.db"), folder_.Wide("cache"), createAndMigrate);
    }

    /// The text of the refusal; empty when the database opens.
    std::string Refusal(bool createAndMigrate) {
        try {
            Open(createAndMigrate);
            return {};
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

    /// Both modes of opening fail with one line that contains the name of the file and @p reason,
    /// and neither changes the file or creates another file in the folder.
    void ExpectRefusedAndUnchanged(const std::string& reason) {
        const std::string before = ReadFile(File());
        const auto names = NamesIn(folder_.Path());
        for (const bool createAndMigrate : {true, false}) {
            const std::string refusal = Refusal(createAndMigrate);
            EXPECT_NE(refusal.find(File().string()), std::string::npos) << refusal;
            EXPECT_NE(refusal.find(reason), std::string::npos) << refusal;
            EXPECT_EQ(refusal.find('\n'), std::string::npos) << refusal;
        }
        EXPECT_TRUE(ReadFile(File()) == before);
        EXPECT_EQ(NamesIn(folder_.Path()), names);
    }

    TemporaryFolder folder_;
};

TEST_F(MediaDBFileTest, ALaterConnectionCreatesNoDatabase) {
    EXPECT_NE(Refusal(false), "");
    EXPECT_EQ(NamesIn(folder_.Path()).size(), 0u);
}

TEST_F(MediaDBFileTest, TheFolderOfTheDatabaseIsNotCreated) {
    EXPECT_THROW(MediaDB(folder_.Wide("no/media.db"), L"", true), std::runtime_error);
    EXPECT_EQ(NamesIn(folder_.Path()).size(), 0u);
}

TEST_F(MediaDBFileTest, NamesOfDatabasesInMemoryAndEmptyPathsAreNotFiles) {
    EXPECT_THROW(MediaDB(L"", L"", true), std::runtime_error);
    EXPECT_THROW(MediaDB(std::wstring(L"a\0b", 3), L"", true), std::runtime_error);
    EXPECT_THROW(MediaDB(L":memory:", L"", false), std::runtime_error);
}

TEST_F(MediaDBFileTest, AFileOfNoBytesBecomesADatabaseAtTheFirstConnectionOnly) {
    WriteFile(File(), "");

    EXPECT_NE(Refusal(false), "");
    EXPECT_EQ(Open().Status(), MediaDB::Created);
}

TEST_F(MediaDBFileTest, AFolderInPlaceOfTheFileIsRefused) {
    std::filesystem::create_directory(File());

    EXPECT_NE(Refusal(true).find(File().string()), std::string::npos);
    EXPECT_NE(Refusal(false), "");
    EXPECT_TRUE(std::filesystem::is_directory(File()));
}

TEST_F(MediaDBFileTest, AFileThatIsNotADatabaseIsRefusedAndUnchanged) {
    for (const std::string& content :
         {std::string("x"), std::string("hello\n"), std::string(8192, '\0'),
          std::string("\xff\xd8\xff\xe0JFIF")}) {
        WriteFile(File(), content);
        ExpectRefusedAndUnchanged("no media database");
    }
    WriteFile(File(), "SQLite format 3");
    ExpectRefusedAndUnchanged("not a database");
}

TEST_F(MediaDBFileTest, ANewerDatabaseIsRefusedAndUnchanged) {
    Open().AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");
    for (const char* version : {"3", "999", "2147483647"}) {
        RawDatabase(File()).Run(std::string("PRAGMA user_version=") + version);

        ExpectRefusedAndUnchanged("newer version");
    }
}

TEST_F(MediaDBFileTest, ANewerDatabaseWithChangesInItsLogIsRefusedAndUnchanged) {
    Open();
    const std::string before = ReadFile(File());
    RawDatabase raw(File());
    raw.Run("PRAGMA wal_autocheckpoint=0; PRAGMA user_version=3");
    const std::string log = ReadFile(folder_ / "media.db-wal");
    ASSERT_FALSE(log.empty());

    EXPECT_NE(Refusal(true).find("newer version"), std::string::npos);

    EXPECT_TRUE(ReadFile(File()) == before);
    EXPECT_TRUE(ReadFile(folder_ / "media.db-wal") == log);
}

TEST_F(MediaDBFileTest, ADatabaseOfAnotherProgramIsRefusedAndUnchanged) {
    RawDatabase(File()).Run("CREATE TABLE t (a); INSERT INTO t VALUES (1)");
    ExpectRefusedAndUnchanged("another program's");

    RawDatabase(File()).Run("PRAGMA application_id=77");
    ExpectRefusedAndUnchanged("another program's");

    RawDatabase(File()).Run("PRAGMA journal_mode=WAL");
    ExpectRefusedAndUnchanged("another program's");
}

TEST_F(MediaDBFileTest, ADatabaseMarkedAsOursWithoutAVersionIsRefused) {
    Open();
    RawDatabase(File()).Run("PRAGMA user_version=0");
    ExpectRefusedAndUnchanged("damaged");

    RawDatabase(File()).Run("PRAGMA user_version=-1");
    ExpectRefusedAndUnchanged("damaged");
}

TEST_F(MediaDBFileTest, AMissingTableOrColumnIsReportedAndNotCreated) {
    Open();
    RawDatabase(File()).Run("ALTER TABLE peak_file RENAME COLUMN last_use TO other");
    EXPECT_NE(Refusal(true).find("last_use"), std::string::npos);

    RawDatabase(File()).Run("DROP TABLE peak_file");
    EXPECT_NE(Refusal(true).find("peak_file"), std::string::npos);
    EXPECT_NE(Refusal(false).find("peak_file"), std::string::npos);
    EXPECT_EQ(RawDatabase(File()).Ask("SELECT count(*) FROM sqlite_schema WHERE name='peak_file'"),
              "0");
}

TEST_F(MediaDBFileTest, AViewInPlaceOfATableIsNotRun) {
    Open();
    RawDatabase(File()).Run(
        "ALTER TABLE peak_file RENAME TO hidden; CREATE VIEW peak_file AS SELECT * FROM hidden");

    EXPECT_NE(Refusal(true), "");
}

TEST_F(MediaDBFileTest, ATriggerInTheFileIsNotRun) {
    Open();
    RawDatabase(File()).Run(
        "CREATE TRIGGER t AFTER INSERT ON peak_file BEGIN DELETE FROM peak_file; END");
    MediaDB database = Open();
    std::wstring name;

    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");

    EXPECT_TRUE(database.GetPeakFilename(L"/m/a.wav", L"ff", 0, &name));
}

TEST_F(MediaDBFileTest, DamageIsReportedByTheOperationThatFindsIt) {
    {
        MediaDB database = Open();
        for (int i = 0; i < 200; ++i) {
            database.AddConformedFile(L"/m/a.wav", L"ff", i, 48000, L"n.xwmc");
        }
    }
    std::string bytes = ReadFile(File());
    // Every page after the first page, which contains the schema.
    for (std::size_t at = 4096; at < bytes.size(); ++at) bytes[at] = '\xEE';
    WriteFile(File(), bytes);
    std::wstring name;

    MediaDB database = Open();

    EXPECT_THROW(database.GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name),
                 std::runtime_error);
    EXPECT_THROW(database.FindUnusedConformedFiles(0), std::runtime_error);
    EXPECT_THROW(database.TouchConformedFile(L"/m/a.wav", L"ff", 0, 48000), std::runtime_error);
}

TEST_F(MediaDBFileTest, AReadOnlyFileIsRefusedByTheFirstConnection) {
    Open();
    std::filesystem::permissions(File(), static_cast<std::filesystem::perms>(0444));
    std::filesystem::permissions(folder_.Path(), static_cast<std::filesystem::perms>(0777));

    const int answer = AsAnyone(
        [&] { return Refusal(true).find("cannot be written") == std::string::npos ? 1 : 0; });

    EXPECT_EQ(answer, 0);
}

TEST_F(MediaDBFileTest, TheWriteAheadLogWaitsUntilAnotherConnectionHasWritten) {
    Open();
    RawDatabase holder(File());
    ASSERT_EQ(holder.Ask("PRAGMA journal_mode=DELETE"), "delete");
    holder.Run("BEGIN IMMEDIATE");
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        holder.Run("COMMIT");
    });

    EXPECT_NO_THROW(Open());

    writer.join();
    EXPECT_EQ(RawDatabase(File()).Ask("PRAGMA journal_mode"), "wal");
}

TEST_F(MediaDBFileTest, AnOperationOnALockedDatabaseFailsAfterTheTimeout) {
    MediaDB database = Open();
    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");
    RawDatabase holder(File());
    holder.Run("BEGIN EXCLUSIVE");
    orlo::project::SetDatabaseBusyTimeout(50);
    MediaDB shortTimeout = Open(false);

    const auto start = std::chrono::steady_clock::now();
    EXPECT_THROW(shortTimeout.TouchPeakFile(L"/m/a.wav", L"ff", 0), std::runtime_error);
    EXPECT_THROW(shortTimeout.AddPeakFile(L"/m/b.wav", L"ff", 0, L"m.xwpk"), std::runtime_error);
    const auto waited = std::chrono::steady_clock::now() - start;

    EXPECT_GE(waited, std::chrono::milliseconds(80));
    EXPECT_LT(waited, std::chrono::seconds(3));
    std::wstring name;
    EXPECT_TRUE(shortTimeout.GetPeakFilename(L"/m/a.wav", L"ff", 0, &name))
        << "readers do not wait";
    holder.Run("COMMIT");
    EXPECT_TRUE(shortTimeout.TouchPeakFile(L"/m/a.wav", L"ff", 0));
}

TEST_F(MediaDBFileTest, AConnectionWaitsForADatabaseThatIsBeingCreated) {
    RawDatabase holder(File());
    holder.Run("BEGIN EXCLUSIVE");
    orlo::project::SetDatabaseBusyTimeout(50);

    EXPECT_NE(Refusal(true).find("locked"), std::string::npos);

    holder.Run("ROLLBACK");
    EXPECT_EQ(Open().Status(), MediaDB::Created);
}

TEST_F(MediaDBFileTest, ALockThatIsReleasedInTimeIsNotAFailure) {
    MediaDB database = Open();
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        sqlite3* handle = nullptr;
        sqlite3_open(File().c_str(), &handle);
        sqlite3_exec(handle, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
        if (write(ready[1], "x", 1) != 1) _exit(1);
        usleep(100'000);
        sqlite3_exec(handle, "COMMIT", nullptr, nullptr, nullptr);
        _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);

    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");

    std::wstring name;
    EXPECT_TRUE(database.GetPeakFilename(L"/m/a.wav", L"ff", 0, &name));
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    close(ready[0]);
    close(ready[1]);
}

TEST_F(MediaDBFileTest, TwoProcessesThatCreateOneDatabaseAtOnceBothSucceed) {
    for (int round = 0; round < 20; ++round) {
        const std::wstring path = folder_.Wide("race" + std::to_string(round) + ".db");
        int go[2];
        ASSERT_EQ(pipe(go), 0);
        pid_t children[2];
        for (int i = 0; i < 2; ++i) {
            children[i] = fork();
            if (children[i] != 0) continue;
            char byte = 0;
            close(go[1]);
            if (read(go[0], &byte, 1) != 0) _exit(98);
            try {
                MediaDB database(path, L"", true);
                database.AddPeakFile(L"/m/a.wav", L"ff", i, L"n.xwpk");
                _exit(database.Status());
            } catch (const std::exception& error) {
                fprintf(stderr, "%s\n", error.what());
                _exit(99);
            }
        }
        close(go[0]);
        close(go[1]);  // the end of the pipe starts both
        int answers[2];
        for (int i = 0; i < 2; ++i) {
            int status = 0;
            waitpid(children[i], &status, 0);
            answers[i] = WEXITSTATUS(status);
        }

        EXPECT_EQ(answers[0] + answers[1], MediaDB::Created + MediaDB::Ready)
            << answers[0] << " and " << answers[1];
        EXPECT_EQ(MediaDB(path, L"", false).FindUnusedPeakFiles(0).size(), 2u);
    }
}

TEST_F(MediaDBFileTest, TheRefusalOfASecondRecordHasNoMessageOfTheDatabaseLibrary) {
    MediaDB database = Open();
    database.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"a.xwmc");
    const orlo::project::DatabaseObserver observer;

    EXPECT_THROW(database.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"b.xwmc"),
                 std::runtime_error);

    EXPECT_NE(observer.Failure().find(": another program has recorded the file"),
              std::string::npos);
    EXPECT_EQ(observer.Failure().find("UNIQUE"), std::string::npos);
}

TEST_F(MediaDBFileTest, AFailureIsCollectedByTheInnermostObserverOfItsThread) {
    const orlo::project::DatabaseObserver outer;
    {
        const orlo::project::DatabaseObserver inner;
        std::thread([] { EXPECT_THROW(MediaDB(L"", L"", true), std::runtime_error); }).join();
        EXPECT_EQ(inner.Failure(), "");
        EXPECT_THROW(MediaDB(L"", L"", true), std::runtime_error);
        EXPECT_NE(inner.Failure(), "");
    }

    EXPECT_EQ(outer.Failure(), "");
}

TEST_F(MediaDBFileTest, OfTwoProcessesThatAddOneKeyExactlyOneIsRefused) {
    MediaDB database = Open();
    int accepted = 0;
    int refused = 0;
    for (int i = 0; i < 2; ++i) {
        const int answer = InAnotherProcess([&] {
            MediaDB other = Open(false);
            try {
                other.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, std::to_wstring(i) + L".xwmc");
                return 0;
            } catch (const std::runtime_error&) {
                return 1;
            }
        });
        ASSERT_TRUE(answer == 0 || answer == 1);
        (answer == 0 ? accepted : refused)++;
    }

    EXPECT_EQ(accepted, 1);
    EXPECT_EQ(refused, 1);
    std::wstring name;
    EXPECT_TRUE(database.GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
    EXPECT_EQ(name, L"0.xwmc");
}

TEST_F(MediaDBFileTest, AnAddedRecordOutlivesAKilledProcess) {
    Open();
    const int answer = InAnotherProcess([&] {
        MediaDB other = Open(false);
        other.AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");
        kill(getpid(), SIGKILL);
        return 0;
    });
    ASSERT_EQ(answer, -1);
    std::wstring name;

    EXPECT_TRUE(Open(false).GetPeakFilename(L"/m/a.wav", L"ff", 0, &name));
}

TEST_F(MediaDBFileTest, AFailedOpenLeavesNoOpenDescriptor) {
    WriteFile(File(), "no database");
    const auto descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const auto before = descriptors();

    for (int i = 0; i < 20; ++i) EXPECT_NE(Refusal(i % 2 == 0), "");

    EXPECT_EQ(descriptors(), before);
}

}  // namespace
