// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/OpenRecordDatabase.h"

#include "sonrel/database/detail/SqliteDatabase.h"

namespace orlo::project {

std::unique_ptr<RecordDatabase> OpenRecordDatabase(std::wstring const& path, std::wstring const&,
                                                   bool createAndMigrate,
                                                   MediaDB::DatabaseStatus* status) {
    return SqliteDatabase::Open(path, createAndMigrate, status);
}

std::unique_ptr<RecordDatabase> OpenRecordDatabaseToLook(std::wstring const& path) {
    return SqliteDatabase::OpenToLook(path);
}

}  // namespace orlo::project
