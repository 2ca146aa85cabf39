// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/PostgresqlSchema.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "sonrel/base/Paths.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/database/DatabaseServer.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project {

namespace {

constexpr long long VERSION = 1;

/// Texts are UTF-8 in columns of bytes, which the server neither converts nor sorts by language.
/// The key contains a hash of the path, because a page of an index has no room for long paths. The
/// time of last use is in milliseconds since 1970, UTC.
constexpr char TABLES[] = R"sql(
CREATE TABLE conformed_file (
    media_path bytea NOT NULL,
    path_hash bytea NOT NULL GENERATED ALWAYS AS (sha256(media_path)) STORED,
    media_fingerprint bytea NOT NULL,
    stream_index bigint NOT NULL,
    sample_rate bigint NOT NULL,
    cache_filename bytea NOT NULL,
    last_use bigint NOT NULL,
    checksum bigint,
    PRIMARY KEY (path_hash, media_fingerprint, stream_index, sample_rate)
);
CREATE INDEX conformed_file_last_use ON conformed_file (last_use);

CREATE TABLE peak_file (
    media_path bytea NOT NULL,
    path_hash bytea NOT NULL GENERATED ALWAYS AS (sha256(media_path)) STORED,
    media_fingerprint bytea NOT NULL,
    stream_index bigint NOT NULL,
    cache_filename bytea NOT NULL,
    last_use bigint NOT NULL,
    checksum bigint,
    PRIMARY KEY (path_hash, media_fingerprint, stream_index)
);
CREATE INDEX peak_file_last_use ON peak_file (last_use);

CREATE TABLE vfr_cache_file (
    media_path bytea NOT NULL,
    path_hash bytea NOT NULL GENERATED ALWAYS AS (sha256(media_path)) STORED,
    media_fingerprint bytea NOT NULL,
    stream_index bigint NOT NULL,
    cache_filename bytea NOT NULL,
    last_use bigint NOT NULL,
    PRIMARY KEY (path_hash, media_fingerprint, stream_index)
);
CREATE INDEX vfr_cache_file_last_use ON vfr_cache_file (last_use);

CREATE TABLE identity (version bigint NOT NULL, cache_folder bytea NOT NULL);
INSERT INTO identity VALUES (1, '');
)sql";

/// One creation at a time. The lock ends with the transaction.
constexpr char BEGIN_CREATION[] = "BEGIN; SELECT pg_advisory_xact_lock(5999205402711)";

struct SchemaState {
    long long version = 0;    ///< 0 without tables
    std::string cacheFolder;  ///< empty until a folder is marked
};

/// Whether a query has a row. The functions that look up names, such as to_regclass, may miss what
/// another session created during this transaction; a query of the catalog does not.
bool Exists(PostgresqlConnection& connection, const char* sql) {
    return connection.Query(sql).Count() > 0;
}

/// @throws DatabaseError also when a newer version made the tables
SchemaState ReadState(PostgresqlConnection& connection) {
    const bool hasTable = Exists(connection,
                                 "SELECT 1 FROM pg_catalog.pg_class AS c "
                                 "JOIN pg_catalog.pg_namespace AS n ON n.oid = c.relnamespace "
                                 "WHERE n.nspname = 'sonrel' AND c.relname = 'identity'");
    if (!hasTable) return {};
    const PostgresqlRows rows = connection.Query("SELECT version, cache_folder FROM identity");
    if (rows.Count() != 1 || rows.Number(0, 0) < 1) {
        connection.Fail("the schema sonrel is damaged: it has no version");
    }
    SchemaState identity{rows.Number(0, 0), std::string(rows.Bytes(0, 1))};
    if (identity.version <= VERSION) return identity;
    connection.Fail("a newer version of the program made it (version " +
                    std::to_string(identity.version) + "; this program knows versions up to " +
                    std::to_string(VERSION) + ")");
}

void RefuseReadOnlyServer(PostgresqlConnection& connection) {
    if (!Exists(connection, "SELECT 1 WHERE current_setting('transaction_read_only') = 'on'")) {
        return;
    }
    connection.Fail("the server accepts no changes: it is read-only");
}

void CreateTables(PostgresqlConnection& connection) {
    // With the right to use a schema that exists, no right to create a schema is needed.
    const bool hasSchema =
        Exists(connection, "SELECT 1 FROM pg_catalog.pg_namespace WHERE nspname = 'sonrel'");
    if (!hasSchema) connection.Execute("CREATE SCHEMA sonrel");
    connection.Execute(TABLES);
}

std::string MarkOf(const std::string& folder) {
    return folder + "/" + CACHE_FOLDER_MARK;
}

/// The identity in the mark of a folder; empty without a mark.
std::string ReadMark(const std::string& folder) {
    const int descriptor = files::OpenForReading(MarkOf(folder), files::Links::Refused);
    if (descriptor < 0) return {};
    std::array<char, 64> bytes = {};
    const std::size_t size = files::ReadFully(descriptor, bytes.data(), bytes.size());
    files::Close(descriptor);
    const std::string text(bytes.data(), size);
    return text.substr(0, text.find('\n'));
}

/// Writes a file that every user of the folder can read, and closes it. @return success
bool WriteLine(int descriptor, const std::string& name, const std::string& line) {
    const bool written = ::fchmod(descriptor, 0644) == 0 &&
                         files::WriteFully(descriptor, line.data(), line.size()) == line.size() &&
                         files::SyncWithFolder(name, descriptor);
    return files::Close(descriptor) && written;
}

/// Marks a folder, unless it is marked. @return its identity; empty when it cannot be marked
std::string Mark(const std::string& folder) {
    if (std::string identity = ReadMark(folder); !identity.empty()) return identity;
    std::string identity = zrtl::ToUtf8(zrtl::ZRID::Create().ToString());
    const std::string temporary = MarkOf(folder) + "." + identity;
    const int descriptor = files::OpenNew(temporary);
    if (descriptor < 0) return {};
    if (WriteLine(descriptor, temporary, identity + "\n") &&
        std::rename(temporary.c_str(), MarkOf(folder).c_str()) == 0) {
        return identity;
    }
    const int error = errno;
    files::Remove(temporary);
    errno = error;
    return {};
}

/// Connects the database with its first folder. Runs in the transaction of the creation.
void AdoptFolder(PostgresqlConnection& connection, const std::string& folder) {
    const std::string identity = Mark(folder);
    if (identity.empty()) {
        connection.Fail("the cache folder " + folder +
                        " cannot be marked: " + std::strerror(errno));
    }
    connection.Query("UPDATE identity SET cache_folder = $1", {PostgresqlValue::Bytes(identity)});
}

void RefuseOtherFolder(const PostgresqlConnection& connection, const std::string& identity,
                       const std::string& folder) {
    const std::string mark = ReadMark(folder);
    if (mark == identity) return;
    connection.Fail("the folder " + folder + " is not the cache folder of this database: " +
                    (mark.empty() ? "it has no file " : "another identity is in its file ") +
                    CACHE_FOLDER_MARK + " with the line " + identity);
}

/// Creates tables and marks the folder, where that has not been done.
MediaDB::DatabaseStatus Create(PostgresqlConnection& connection, const std::string& folder) {
    connection.Execute(BEGIN_CREATION);
    // Another connection may have done the work while this connection waited.
    const SchemaState found = ReadState(connection);
    if (found.version == 0) CreateTables(connection);
    if (found.cacheFolder.empty() && !folder.empty()) AdoptFolder(connection, folder);
    connection.Execute("COMMIT");
    return found.version == 0 ? MediaDB::Created : MediaDB::Ready;
}

}  // namespace

MediaDB::DatabaseStatus PreparePostgresqlSchema(PostgresqlConnection& connection,
                                                std::wstring const& cacheFolder,
                                                bool createAndMigrate) {
    const std::string folder = zrtl::ToUtf8(cacheFolder);
    MediaDB::DatabaseStatus status = MediaDB::Ready;
    SchemaState identity = ReadState(connection);
    if (createAndMigrate) {
        RefuseReadOnlyServer(connection);
        const bool hasFolder = folder.empty() || !identity.cacheFolder.empty();
        if (identity.version == 0 || !hasFolder) {
            status = Create(connection, folder);
            identity = ReadState(connection);
        }
    }
    if (identity.version == 0) connection.Fail("the server has no tables for it");
    if (!folder.empty()) RefuseOtherFolder(connection, identity.cacheFolder, folder);
    return status;
}

}  // namespace orlo::project
