// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/OpenRecordDatabase.h"

#include <optional>

#include "sonrel/base/Paths.h"
#include "sonrel/database/DatabaseServer.h"
#include "sonrel/database/detail/DatabaseFailures.h"
#include "sonrel/database/detail/PostgresqlDatabase.h"
#include "sonrel/database/detail/SqliteDatabase.h"

namespace orlo::project {

namespace {

/// The address in a server file; empty for any other file.
std::optional<std::string> AddressAt(std::wstring const& path) {
    std::optional<std::string> address = ReadDatabaseServerFile(path);
    if (!address || IsDatabaseServerAddress(*address)) return address;
    const std::string text = OneLine("The media database " + zrtl::ToUtf8(path) +
                                     ": its second line is not the address of a server");
    NoteDatabaseFailure(text, false);
    throw DatabaseError(text);
}

}  // namespace

std::unique_ptr<RecordDatabase> OpenRecordDatabase(std::wstring const& path,
                                                   std::wstring const& cacheFolder,
                                                   bool createAndMigrate,
                                                   MediaDB::DatabaseStatus* status) {
    if (const auto address = AddressAt(path)) {
        return PostgresqlDatabase::Open(*address, cacheFolder, createAndMigrate, status);
    }
    return SqliteDatabase::Open(path, createAndMigrate, status);
}

std::unique_ptr<RecordDatabase> OpenRecordDatabaseToLook(std::wstring const& path) {
    if (const auto address = AddressAt(path)) return PostgresqlDatabase::OpenToLook(*address);
    return SqliteDatabase::OpenToLook(path);
}

}  // namespace orlo::project
