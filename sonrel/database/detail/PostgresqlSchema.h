// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/database/MediaDB.h"
#include "sonrel/database/detail/PostgresqlConnection.h"

namespace orlo::project {

/// Reads the version of the tables on a server, and creates the tables in an empty schema.
/// @param cacheFolder       is marked or checked; empty: neither
/// @param createAndMigrate  as in MediaDB
/// @return the state that was found
/// @throws DatabaseError when the tables are missing and may not be created, have a newer version,
///         cannot be written although @p createAndMigrate is true, or belong to another folder
MediaDB::DatabaseStatus PreparePostgresqlSchema(PostgresqlConnection& connection,
                                                std::wstring const& cacheFolder,
                                                bool createAndMigrate);

}  // namespace orlo::project
