// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "sonrel/base/Export.h"

/// Media databases on a server.
///
/// The path of a media database may be that of a server file: a text file of less than 512 bytes
/// with two lines. No other database is that small.
///
///     sonrel database server
///     postgresql://user@host:5432/database
///
/// The address is a URI of libpq. The password is better stored in ~/.pgpass than in the address.
namespace orlo::project {

/// The name of the file that marks the cache folder of a database on a server. It contains the
/// identity of the folder, which the database stores too. A folder that is not mounted has no such
/// file: without the check, its empty mount point would remove the records of all machines.
constexpr char CACHE_FOLDER_MARK[] = ".sonrel-folder";

/// Whether a text begins as the address of a database server: "postgresql://" or "postgres://".
SONREL_EXPORT bool IsDatabaseServerAddress(std::string const& text);

/// An address without user, password and settings, for messages.
SONREL_EXPORT std::string DatabaseServerName(std::string const& address);

/// Reads a server file. @return the address; empty when the file is not a server file
SONREL_EXPORT std::optional<std::string> ReadDatabaseServerFile(std::wstring const& path);

/// Writes a server file that only its owner can read, or replaces the file.
/// @throws std::runtime_error when the address is longer than 480 bytes or contains a control
///         character, and std::system_error when the file cannot be written
SONREL_EXPORT void WriteDatabaseServerFile(std::wstring const& path, std::string const& address);

}  // namespace orlo::project
