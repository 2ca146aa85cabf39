// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/database/MediaDB.h"
#include "sonrel/database/detail/RecordDatabase.h"

namespace orlo::project {

/// Opens the media database of a path for its records.
/// @param cacheFolder       as in MediaDB
/// @param createAndMigrate  as in MediaDB
/// @param status            receives the state that was found
/// @throws DatabaseError as MediaDB
std::unique_ptr<RecordDatabase> OpenRecordDatabase(std::wstring const& path,
                                                   std::wstring const& cacheFolder,
                                                   bool createAndMigrate,
                                                   MediaDB::DatabaseStatus* status);

/// Opens the media database of a path for a list, which changes nothing.
/// @throws DatabaseError as CacheLedger
std::unique_ptr<RecordDatabase> OpenRecordDatabaseToLook(std::wstring const& path);

}  // namespace orlo::project
