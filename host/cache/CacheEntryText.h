// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/media/CacheInventory.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// A cache entry as JSON for programs.
Json EntryJson(const CacheEntry& entry);

/// A cache entry as one line of text, including the line feed.
std::string EntryText(const CacheEntry& entry);
std::string EntryTextWithoutState(const CacheEntry& entry);

/// A number of bytes in megabytes, with the unit.
std::string Megabytes(long long bytes);

}  // namespace orlo::host
