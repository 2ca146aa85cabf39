// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/SqliteDatabase.h"

#include <sys/stat.h>

#include <utility>

#include "sonrel/base/Paths.h"
#include "sonrel/database/detail/DatabaseHooks.h"
#include "sonrel/database/detail/DatabaseSchema.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project {

namespace {

using Mode = SqliteConnection::Mode;

/// The first version whose conformed and peak records have a checksum.
constexpr long long CHECKSUM_VERSION = 2;

std::unique_ptr<SqliteConnection> OpenForReading(std::wstring const& path, Mode mode) {
    auto connection = std::make_unique<SqliteConnection>(path, mode);
    PrepareDatabaseSchema(*connection, SchemaWork::Reading, DatabaseSchemaSteps());
    return connection;
}

/// Whether a write-ahead log contains changes that the database file does not contain yet.
bool HasPendingLog(std::wstring const& path) {
    struct stat status = {};
    return stat((zrtl::ToUtf8(path) + "-wal").c_str(), &status) == 0 && status.st_size > 0;
}

}  // namespace

std::unique_ptr<RecordDatabase> SqliteDatabase::Open(std::wstring const& path,
                                                     bool createAndMigrate,
                                                     MediaDB::DatabaseStatus* status) {
    auto connection =
        std::make_unique<SqliteConnection>(path, createAndMigrate ? Mode::Create : Mode::Existing);
    *status = PrepareDatabaseSchema(*connection,
                                    createAndMigrate ? SchemaWork::Allowed : SchemaWork::Forbidden,
                                    DatabaseSchemaSteps());
    // The name of a new database becomes as durable as its content, if the folder can be synced.
    if (*status == MediaDB::Created) files::SyncFolderOf(connection->Path());
    return std::make_unique<SqliteDatabase>(std::move(connection));
}

/// A database in a read-only folder cannot have lock files. No program writes it then, and it is
/// read without locks.
std::unique_ptr<RecordDatabase> SqliteDatabase::OpenToLook(std::wstring const& path) {
    try {
        return std::make_unique<SqliteDatabase>(OpenForReading(path, Mode::Existing));
    } catch (const SqliteError& error) {
        const bool noSideFiles = error.Code() == SQLITE_CANTOPEN || error.Code() == SQLITE_READONLY;
        if (!noSideFiles || HasPendingLog(path)) throw;
    }
    return std::make_unique<SqliteDatabase>(OpenForReading(path, Mode::Frozen));
}

SqliteDatabase::SqliteDatabase(std::unique_ptr<SqliteConnection> connection)
    : connection_(std::move(connection)),
      hasChecksums_(connection_->QueryNumber("PRAGMA user_version") >= CHECKSUM_VERSION) {}

std::unique_ptr<RecordStatement> SqliteDatabase::Prepare(const std::string& sql) {
    return std::make_unique<SqliteStatement>(*connection_, sql);
}

/// No other connection writes during the transaction.
void SqliteDatabase::Begin(const std::string&, WriteExtent) {
    connection_->BeginWrite();
}

void SqliteDatabase::Commit() {
    connection_->Commit();
}

void SqliteDatabase::Rollback() noexcept {
    connection_->Rollback();
}

void SqliteDatabase::SetDurable(bool durable) {
    connection_->SetDurable(durable);
}

long long SqliteDatabase::ChangeCount() const {
    return sqlite3_changes(connection_->Handle());
}

long long SqliteDatabase::Now() {
    return DatabaseNow();
}

}  // namespace orlo::project
