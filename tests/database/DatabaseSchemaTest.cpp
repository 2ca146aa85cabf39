// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/DatabaseSchema.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <string>

#include "tests/support/Database.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::project::BareFileName;
using orlo::project::MediaDB;
using orlo::project::PrepareDatabaseSchema;
using orlo::project::SchemaWork;
using orlo::project::SqliteConnection;
using orlo::project::SqliteStatement;
using orlo::project::StatementRun;
using sonrel_tests::RawDatabase;
using sonrel_tests::TemporaryFolder;

constexpr const char* FIRST = "CREATE TABLE t (a INTEGER); INSERT INTO t VALUES (1)";
constexpr const char* SECOND = "ALTER TABLE t ADD COLUMN b INTEGER NOT NULL DEFAULT 7";
constexpr const char* THIRD = "CREATE INDEX t_b ON t (b)";

/// A database of a fictitious program with three versions.
class DatabaseSchemaTest : public testing::Test {
protected:
    MediaDB::DatabaseStatus Prepare(std::span<const char* const> steps,
                                    SchemaWork work = SchemaWork::Allowed) {
        SqliteConnection connection(folder_.Wide("x.db"), SqliteConnection::Mode::Create);
        return PrepareDatabaseSchema(connection, work, steps);
    }

    std::string Ask(const std::string& sql) { return RawDatabase(folder_ / "x.db").Ask(sql); }

    TemporaryFolder folder_;
};

TEST_F(DatabaseSchemaTest, AnEmptyFileGetsTheLatestVersionByAllSteps) {
    EXPECT_EQ(Prepare(std::array{FIRST, SECOND, THIRD}), MediaDB::Created);

    EXPECT_EQ(Ask("PRAGMA user_version"), "3");
    EXPECT_EQ(Ask("SELECT b FROM t"), "7");
}

TEST_F(DatabaseSchemaTest, AnOlderVersionIsUpgradedAndKeepsItsRows) {
    ASSERT_EQ(Prepare(std::array{FIRST}), MediaDB::Created);
    RawDatabase(folder_ / "x.db").Run("INSERT INTO t VALUES (2)");

    EXPECT_EQ(Prepare(std::array{FIRST, SECOND, THIRD}), MediaDB::Migrated);

    EXPECT_EQ(Ask("PRAGMA user_version"), "3");
    EXPECT_EQ(Ask("SELECT group_concat(a || ':' || b) FROM t"), "1:7,2:7");
    EXPECT_EQ(Prepare(std::array{FIRST, SECOND, THIRD}), MediaDB::Ready);
}

TEST_F(DatabaseSchemaTest, AMigrationThatFailsHalfWayKeepsTheOldVersion) {
    ASSERT_EQ(Prepare(std::array{FIRST}), MediaDB::Created);

    EXPECT_THROW(Prepare(std::array{FIRST, SECOND, "CREATE INDEX i ON missing (b)"}),
                 std::runtime_error);

    EXPECT_EQ(Ask("PRAGMA user_version"), "1");
    EXPECT_EQ(Ask("SELECT count(*) FROM pragma_table_info('t')"), "1");
    EXPECT_EQ(Prepare(std::array{FIRST, SECOND}), MediaDB::Migrated);
}

TEST_F(DatabaseSchemaTest, WithoutPermissionToUpgradeAnOlderVersionIsRefused) {
    ASSERT_EQ(Prepare(std::array{FIRST}), MediaDB::Created);

    EXPECT_THROW(Prepare(std::array{FIRST, SECOND}, SchemaWork::Forbidden), std::runtime_error);

    EXPECT_EQ(Ask("PRAGMA user_version"), "1");
}

TEST_F(DatabaseSchemaTest, ForReadingAnOlderVersionIsAcceptedUnchanged) {
    ASSERT_EQ(Prepare(std::array{FIRST}), MediaDB::Created);

    EXPECT_EQ(Prepare(std::array{FIRST, SECOND}, SchemaWork::Reading), MediaDB::Ready);

    EXPECT_EQ(Ask("PRAGMA user_version"), "1");
}

TEST_F(DatabaseSchemaTest, ForReadingAFileWithoutTablesAndANewerVersionAreRefused) {
    EXPECT_THROW(Prepare(std::array{FIRST}, SchemaWork::Reading), std::runtime_error);
    ASSERT_EQ(Prepare(std::array{FIRST, SECOND}), MediaDB::Created);

    EXPECT_THROW(Prepare(std::array{FIRST}, SchemaWork::Reading), std::runtime_error);
}

TEST_F(DatabaseSchemaTest, ANewerVersionIsRefused) {
    ASSERT_EQ(Prepare(std::array{FIRST, SECOND}), MediaDB::Created);

    EXPECT_THROW(Prepare(std::array{FIRST}), std::runtime_error);
    EXPECT_EQ(Ask("PRAGMA user_version"), "2");
}

TEST(BareFileNames, OnlyTextIsAName) {
    const TemporaryFolder folder;
    SqliteConnection connection(folder.Wide("x.db"), SqliteConnection::Mode::Create);
    SqliteStatement statement(connection, "SELECT 'a', x'61', NULL, 5, 1.5, CAST(x'61' AS TEXT)");
    StatementRun run(statement);
    ASSERT_TRUE(run.Step());

    EXPECT_EQ(run.BareName(0), L"a");
    EXPECT_EQ(run.BareName(1), L"");
    EXPECT_EQ(run.BareName(2), L"");
    EXPECT_EQ(run.BareName(3), L"");
    EXPECT_EQ(run.BareName(4), L"");
    EXPECT_EQ(run.BareName(5), L"a");
}

TEST(BareFileNames, InvalidUtf8IsNotAName) {
    EXPECT_EQ(BareFileName("a\xC3\xBC"), L"a\u00FC");
    EXPECT_EQ(BareFileName("a\xFF"), L"");
    EXPECT_EQ(BareFileName("\xC0\xAF"), L"") << "an overlong separator";
    EXPECT_EQ(BareFileName("\xED\xA0\x80"), L"") << "a surrogate";
}

TEST(DatabaseText, InvalidUtf8IsReplacedCharacterByCharacter) {
    const TemporaryFolder folder;
    SqliteConnection connection(folder.Wide("x.db"), SqliteConnection::Mode::Create);
    SqliteStatement statement(
        connection, "SELECT CAST(x'61FFC3BCF09F8EB5E697' AS TEXT), CAST(x'610062' AS TEXT)");
    StatementRun run(statement);
    ASSERT_TRUE(run.Step());

    EXPECT_EQ(run.Text(0), L"a\uFFFD\u00FC\U0001F3B5\uFFFD\uFFFD");
    EXPECT_EQ(run.Text(1), std::wstring(L"a\0b", 3));
}

}  // namespace
