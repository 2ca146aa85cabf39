// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

enum class CacheAction { List, DiskUse, Check, Clean };

struct CacheOptions {
    CacheAction action = CacheAction::List;
    std::optional<int> days;           ///< empty: the number of --keep-days
    std::optional<long long> maxSize;  ///< bytes; empty: that of --cache-size
    bool orphans = false;
    bool dryRun = false;
    bool deep = false;  ///< for a check: reads every file to its end
};

void DeclareCacheOptions(CLI::App& command, CacheOptions& options);

}  // namespace orlo::host
