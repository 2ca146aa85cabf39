// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/DatabaseSchema.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include "sonrel/database/detail/DatabaseHooks.h"

namespace orlo::project {

namespace {

constexpr std::array<const char*, 2> STEPS = {
    // Version 1. The time of last use is in milliseconds since 1970, UTC.
    R"sql(
CREATE TABLE conformed_file (
    media_path TEXT NOT NULL,
    media_fingerprint TEXT NOT NULL,
    stream_index INTEGER NOT NULL,
    sample_rate INTEGER NOT NULL,
    cache_filename TEXT NOT NULL,
    last_use INTEGER NOT NULL,
    PRIMARY KEY (media_path, media_fingerprint, stream_index, sample_rate)
) STRICT, WITHOUT ROWID;
CREATE INDEX conformed_file_last_use ON conformed_file (last_use);

CREATE TABLE peak_file (
    media_path TEXT NOT NULL,
    media_fingerprint TEXT NOT NULL,
    stream_index INTEGER NOT NULL,
    cache_filename TEXT NOT NULL,
    last_use INTEGER NOT NULL,
    PRIMARY KEY (media_path, media_fingerprint, stream_index)
) STRICT, WITHOUT ROWID;
CREATE INDEX peak_file_last_use ON peak_file (last_use);

CREATE TABLE vfr_cache_file (
    media_path TEXT NOT NULL,
    media_fingerprint TEXT NOT NULL,
    stream_index INTEGER NOT NULL,
    cache_filename TEXT NOT NULL,
    last_use INTEGER NOT NULL,
    PRIMARY KEY (media_path, media_fingerprint, stream_index)
) STRICT, WITHOUT ROWID;
CREATE INDEX vfr_cache_file_last_use ON vfr_cache_file (last_use);
)sql",
    // Version 2. The checksum of the file when it was written; NULL in records of version 1.
    R"sql(
ALTER TABLE conformed_file ADD COLUMN checksum INTEGER;
ALTER TABLE peak_file ADD COLUMN checksum INTEGER;
)sql"};

/// The identification of a database file.
struct Identity {
    long long applicationId = 0;
    long long version = 0;
    long long schemaChanges = 0;  ///< 0: the file never had a table

    bool IsEmpty() const { return applicationId == 0 && version == 0 && schemaChanges == 0; }
};

std::uint32_t BigEndian(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

/// @throws SqliteError when the file belongs to another program, or is newer than @p latest
void RefuseStrangers(const SqliteConnection& connection, const Identity& identity,
                     long long latest) {
    if (identity.IsEmpty()) return;
    if (identity.applicationId != DATABASE_APPLICATION_ID) {
        connection.Fail("the file is no media database but another program's");
    }
    if (identity.version > latest) {
        connection.Fail("a newer version of the program made it (version " +
                        std::to_string(identity.version) + "; this program knows versions up to " +
                        std::to_string(latest) + ")");
    }
    if (identity.version < 1) connection.Fail("the file is damaged: it has no version");
}

/// Reads the identification from the first bytes of the file, without locks, write-ahead log and
/// journal, so that none of these is created or applied for a file that is not ours. The file is
/// read through the descriptor of the connection: closing a second descriptor would drop the locks
/// of every connection of this process to the file.
/// @throws SqliteError when the bytes are not a database
Identity ReadHeader(const SqliteConnection& connection) {
    sqlite3_file* file = nullptr;
    const int code =
        sqlite3_file_control(connection.Handle(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
    if (code != SQLITE_OK || !file || !file->pMethods) return {};
    unsigned char header[100] = {};
    sqlite3_int64 size = 0;
    if (file->pMethods->xFileSize(file, &size) != SQLITE_OK) return {};
    const int read = file->pMethods->xRead(file, header, sizeof(header), 0);
    // A file of one byte is reported as empty too. It may be overwritten only if the byte is 0.
    if (size == 0 && header[0] == 0) return {};
    if (read != SQLITE_OK && read != SQLITE_IOERR_SHORT_READ) connection.FailWith(read);
    if (std::memcmp(header, "SQLite format 3", 16) != 0) {
        connection.Fail("the file is no media database, or is damaged");
    }
    return {BigEndian(header + 68), static_cast<std::int32_t>(BigEndian(header + 60)),
            BigEndian(header + 40)};
}

/// @throws SqliteError when the first bytes belong to another program or are newer, twice in a
///         row: a single time can be the moment in which another connection of ours writes them
void RefuseStrangersByHeader(const SqliteConnection& connection, long long latest) {
    try {
        RefuseStrangers(connection, ReadHeader(connection), latest);
    } catch (const SqliteError&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        RefuseStrangers(connection, ReadHeader(connection), latest);
    }
}

/// Runs in a transaction, so that the three values match.
Identity ReadIdentity(SqliteConnection& connection) {
    return {connection.QueryNumber("PRAGMA application_id"),
            connection.QueryNumber("PRAGMA user_version"),
            connection.QueryNumber("PRAGMA schema_version")};
}

/// Switches to a write-ahead log, so that readers and a writer do not wait for each other. The
/// switch needs exclusive access, and the database library does not wait for it. On a file system
/// without shared memory the rollback journal remains.
void UseWriteAheadLog(SqliteConnection& connection) {
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(DatabaseBusyTimeout());
    for (;;) {
        try {
            connection.QueryText("PRAGMA journal_mode=WAL");
            return;
        } catch (const SqliteError& error) {
            const bool locked = error.Code() == SQLITE_BUSY || error.Code() == SQLITE_LOCKED;
            if (!locked || std::chrono::steady_clock::now() >= deadline) throw;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

MediaDB::DatabaseStatus RunSteps(SqliteConnection& connection, std::span<const char* const> steps) {
    const auto latest = static_cast<long long>(steps.size());
    SqliteTransaction transaction(connection);
    // Another connection may have done the work while this connection waited.
    const Identity identity = ReadIdentity(connection);
    RefuseStrangers(connection, identity, latest);
    if (identity.version == latest) return MediaDB::Ready;

    for (long long version = identity.version; version < latest; ++version) {
        connection.Execute(steps[static_cast<std::size_t>(version)]);
    }
    connection.Execute(
        ("PRAGMA application_id=" + std::to_string(DATABASE_APPLICATION_ID)).c_str());
    connection.Execute(("PRAGMA user_version=" + std::to_string(latest)).c_str());
    transaction.Commit();
    return identity.IsEmpty() ? MediaDB::Created : MediaDB::Migrated;
}

}  // namespace

std::span<const char* const> DatabaseSchemaSteps() {
    return STEPS;
}

MediaDB::DatabaseStatus PrepareDatabaseSchema(SqliteConnection& connection, SchemaWork work,
                                              std::span<const char* const> steps) {
    const auto latest = static_cast<long long>(steps.size());
    RefuseStrangersByHeader(connection, latest);
    connection.Execute("BEGIN");
    const Identity identity = ReadIdentity(connection);
    connection.Execute("COMMIT");
    RefuseStrangers(connection, identity, latest);
    const bool isLatest = identity.version == latest;
    const bool isReadable = isLatest || (work == SchemaWork::Reading && !identity.IsEmpty());
    if (work != SchemaWork::Allowed && !isReadable) {
        connection.Fail("the file has no tables, or those of an older version");
    }
    connection.AllowChanges();
    connection.Execute("PRAGMA synchronous=FULL; PRAGMA temp_store=MEMORY");
    if (work != SchemaWork::Allowed) return MediaDB::Ready;
    if (connection.IsReadOnly()) connection.Fail("the file cannot be written");
    UseWriteAheadLog(connection);
    return isLatest ? MediaDB::Ready : RunSteps(connection, steps);
}

}  // namespace orlo::project
