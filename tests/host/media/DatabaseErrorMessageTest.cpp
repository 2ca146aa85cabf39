// SPDX-License-Identifier: MIT
#include "host/media/DatabaseErrorMessage.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdio>

#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

class DatabaseErrorText : public testing::Test {
protected:
    DatabaseErrorText() {
        sonrel_tests::WriteFile(folder_ / "media.db", "");
        sonrel_tests::WriteFile(folder_ / "media.db-shm", "");
    }

    /// A line of /proc/locks about a file of the folder.
    std::string Line(const std::string& access, long process, const std::string& name) const {
        struct stat status = {};
        EXPECT_EQ(stat((folder_ / name).c_str(), &status), 0);
        char line[200];
        std::snprintf(line, sizeof(line), "7: POSIX  ADVISORY  %s %ld %02x:%02x:%ld 120 120\n",
                      access.c_str(), process, major(status.st_dev), minor(status.st_dev),
                      static_cast<long>(status.st_ino));
        return line;
    }

    sonrel_tests::TemporaryFolder folder_;
    std::string database_ = (folder_ / "media.db").string();
};

TEST_F(DatabaseErrorText, TheHolderOfALockIsTheProcessThatLocksForWriting) {
    EXPECT_EQ(LockHolder(database_, Line("READ", 999999991, "media.db") +
                                        Line("WRITE", 999999992, "media.db-shm")),
              "process 999999992");
    EXPECT_EQ(LockHolder(database_, Line("WRITE", 999999993, "media.db")), "process 999999993");
}

TEST_F(DatabaseErrorText, ReadersThisProcessAndOtherFilesAreNotTheHolderOfALock) {
    sonrel_tests::WriteFile(folder_ / "other.db", "");

    EXPECT_EQ(LockHolder(database_, "what is this\n" + Line("READ", 999999991, "media.db") +
                                        Line("WRITE", getpid(), "media.db") +
                                        Line("WRITE", 0, "media.db") +
                                        Line("WRITE", 999999992, "other.db")),
              "");
}

TEST_F(DatabaseErrorText, ALockedDatabaseShouldNotBeMovedAway) {
    EXPECT_EQ(
        DatabaseErrorMessage(database_, "The media database " + database_ + ": database is locked"),
        "cannot use the media database '" + database_ +
            "': it is locked by another program; try again after it has ended, or "
            "choose another database with --db");
}

TEST_F(DatabaseErrorText, ARecordOfAnotherProgramIsNotAReasonToMoveTheDatabaseAway) {
    EXPECT_EQ(DatabaseErrorMessage(database_, "The media database " + database_ +
                                                  ": another program has recorded the file"),
              "cannot use the media database '" + database_ +
                  "': another program has recorded the file; try again");
}

TEST_F(DatabaseErrorText, AFullDiskIsNotAReasonToMoveTheDatabaseAway) {
    EXPECT_EQ(DatabaseErrorMessage(
                  database_, "The media database " + database_ + ": database or disk is full"),
              "cannot use the media database '" + database_ +
                  "': its disk is full; make room, or choose another database with --db");
}

TEST_F(DatabaseErrorText, AFailingDiskIsNotAReasonToMoveTheDatabaseAway) {
    EXPECT_EQ(
        DatabaseErrorMessage(database_, "The media database " + database_ + ": disk I/O error"),
        "cannot use the media database '" + database_ +
            "': disk I/O error; check its disk, or choose another database with --db");
}

TEST_F(DatabaseErrorText, ADatabaseThatCannotBeOpenedOrWrittenShouldNotBeMovedAway) {
    for (const std::string words :
         {"unable to open database file", "attempt to write a readonly database",
          "the file cannot be written"}) {
        EXPECT_EQ(DatabaseErrorMessage(database_, "The media database " + database_ + ": " + words),
                  "cannot use the media database '" + database_ + "': " + words +
                      "; it and its folder must exist and be writable, or choose another database "
                      "with --db");
    }
}

TEST_F(DatabaseErrorText, ALackOfDescriptorsOrMemoryIsNotAReasonToMoveTheDatabaseAway) {
    const std::string text = "The media database " + database_ + ": ";
    const std::string subject = "cannot use the media database '" + database_ + "': ";

    EXPECT_EQ(DatabaseErrorMessage(database_, text + "too many files are open"),
              subject + "too many files are open; allow more (ulimit -n)");
    for (const std::string& words : {text + "not enough memory", std::string("std::bad_alloc")}) {
        EXPECT_EQ(DatabaseErrorMessage(database_, words),
                  subject +
                      "there is not enough memory; end other programs, or allow more "
                      "(ulimit -v)");
    }
}

TEST_F(DatabaseErrorText, ADamagedDatabaseShouldBeMovedAway) {
    EXPECT_EQ(DatabaseErrorMessage(database_,
                                   "The media database " + database_ + ": file is not a database"),
              "cannot use the media database '" + database_ +
                  "': file is not a database; move it away, or choose another database with --db");
}

TEST_F(DatabaseErrorText, EndsWithTheRemedyForItsPath) {
    for (const char* reason : {"database is locked", "database or disk is full", "disk I/O error",
                               "unable to open database file", "file is not a database"}) {
        const std::string chosen = DatabaseErrorMessage(database_, reason);
        const std::string temporary = DatabaseErrorMessage(database_, reason, "set TMPDIR");

        EXPECT_TRUE(chosen.ends_with("or choose another database with --db")) << chosen;
        EXPECT_TRUE(temporary.ends_with("or set TMPDIR")) << temporary;
        EXPECT_EQ(temporary.find("--db"), std::string::npos) << temporary;
    }
}

}  // namespace
}  // namespace orlo::host
