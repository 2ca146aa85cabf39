// SPDX-License-Identifier: MIT
#pragma once

#include <span>

#include "sonrel/database/MediaDB.h"
#include "sonrel/database/detail/Sqlite.h"

namespace orlo::project {

/// Marks a file as a media database ("SNRL").
constexpr long long DATABASE_APPLICATION_ID = 0x534E524C;

/// The statements that upgrade each version to the next; the first creates version 1 in an empty
/// file. Their number is the version of this program. A step that has been released never changes:
/// a change of the schema is a new step.
std::span<const char* const> DatabaseSchemaSteps();

/// Whether a media database may be created or upgraded.
enum class SchemaWork {
    Allowed,
    Forbidden,
    Reading  ///< no, and an older version is accepted unchanged
};

/// Reads the owner and the version of a file, creates the tables in an empty file and upgrades an
/// older version, in one transaction: in every case the file has one complete version.
/// @return the state that was found
/// @throws SqliteError when the file is not a media database, has a newer version, or has an
///         older version and @p work is forbidden; the file is then unchanged
MediaDB::DatabaseStatus PrepareDatabaseSchema(SqliteConnection& connection, SchemaWork work,
                                              std::span<const char* const> steps);

}  // namespace orlo::project
