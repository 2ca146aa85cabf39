// SPDX-License-Identifier: MIT
#pragma once

#include <set>
#include <string>
#include <vector>

#include "host/media/CacheInventory.h"

namespace orlo::host {

/// The result of a removal of files beyond a size.
struct CacheTrim {
    std::vector<CacheEntry> removed;  ///< in the order of their removal
    std::vector<CacheEntry> used;     ///< kept, because a process uses them
    std::vector<CacheEntry> failed;   ///< kept, because the system did not remove them
    long long bytes = 0;              ///< of the files with a record that are left
};

/// Removes cache files, those without use for the longest time first, until the files with a record
/// have at most a number of bytes. Each file is removed before its record, and only while the
/// record has not been used since it was listed. The files that a process has marked as used stay;
/// this process counts.
///
/// Missing files and files without a record neither count nor change.
/// @param maxBytes  0 or more
/// @throws JobError when the database or the folder cannot be read or changed
CacheTrim TrimCache(const CachePaths& paths, long long maxBytes);

/// The files that TrimCache would remove now.
/// @param excluded  names of files that do not count
CacheTrim PlanCacheTrim(const CachePaths& paths, long long maxBytes,
                        const std::set<std::string>& excluded);

}  // namespace orlo::host
