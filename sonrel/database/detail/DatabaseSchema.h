// SPDX-License-Identifier: MIT
#pragma once

#include <span>

#include "sonrel/database/MediaDB.h"
#include "sonrel/database/detail/Sqlite.h"

namespace orlo::project {

/// Marks a file as a media database ("SNRL").
constexpr long long DATABASE_APPLICATION_ID = 0x534E524C;

/// The statements that lead from each version to the next; the first makes version 1 of an empty
/// file. The version that the program knows is their number. A step that has been released never
/// changes: what comes after it is a new one.
std::span<const char* const> DatabaseSchemaSteps();

/// The first version whose conformed and peak records have a checksum.
constexpr long long CHECKSUM_VERSION = 2;

/// Whether a media database may be made or brought up to date.
enum class SchemaWork {
    Allowed,
    Forbidden,
    Reading  ///< no, and an older version is accepted as it is
};

/// Finds out whose file it is and which version it has, makes the tables of an empty one and brings
/// an older one up to date, in one transaction: whatever happens, the file has one version whole.
/// @return what was found
/// @throws DatabaseError when the file is no media database, has a newer version, or has an
///         older version and @p work is forbidden; the file is then as it was
MediaDB::DatabaseStatus PrepareDatabaseSchema(SqliteConnection& connection, SchemaWork work,
                                              std::span<const char* const> steps);

}  // namespace orlo::project
