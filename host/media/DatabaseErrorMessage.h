// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::host {

/// The remedy for a database whose path the user can choose.
constexpr const char* OTHER_DATABASE = "choose another database with --db";

/// The message for a failure of the media database, as a clause with a remedy. A database on a
/// server is named in the reason, without its password.
/// @param reason  the text of the failure
/// @param remedy  of a database that cannot be used, as a clause
std::string DatabaseErrorMessage(const std::string& database, const std::string& reason,
                                 const std::string& remedy = OTHER_DATABASE);

/// The other process that has the media database locked for writing, as "process 123 (name)"; empty
/// when the system does not report such a process.
/// @param locks  the text of /proc/locks
std::string LockHolder(const std::string& database, const std::string& locks);

/// Whether a file system is mounted read-only.
/// @param path  of a file or a folder in it; need not exist
bool IsOnReadOnlyFileSystem(const std::string& path);

}  // namespace orlo::host
