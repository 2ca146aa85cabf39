// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::host {

/// A clause about a media database that failed, with its remedy.
/// @param reason  the text of the failure
std::string DatabaseErrorMessage(const std::string& database, const std::string& reason);

/// The other process that has the media database locked for writing, as "process 123 (name)"; empty
/// where the system does not report one.
/// @param locks  the text of /proc/locks
std::string LockHolder(const std::string& database, const std::string& locks);

/// Whether a file system is mounted read-only.
/// @param path  of a file or a folder in it; need not exist
bool IsOnReadOnlyFileSystem(const std::string& path);

}  // namespace orlo::host
