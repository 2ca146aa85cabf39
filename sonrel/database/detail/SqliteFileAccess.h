// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::project {

/// The name under which the database library finds its access to files: the access of the system,
/// with two differences.
///
/// - A journal of several databases cannot be opened.
/// - A read that the disk refuses is an I/O error. The system's access calls it a damaged file
///   system, and the library would report a damaged database, although the next read may succeed.
///
/// Thread-safe. @return null for the access of the system, when ours cannot be registered
const char* SqliteFileAccess();

}  // namespace orlo::project
