// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/otio/MediaResolver.h"
#include "host/shell/Progress.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// The temporary files of inputs that cannot be read in place.
struct Spool {
    std::string folder;  ///< also for the media cache of the command; empty without such inputs
    bool hasStandardInput = false;
    std::vector<std::string> archives;  ///< inputs that are timelines in archives

    /// The folder with the content of an archive. Its name has the form of a timeline folder.
    std::string FolderOf(const std::string& archive) const;
};

/// The options that all commands have.
struct GlobalOptions {
    std::string cacheFolder;   ///< empty: the default folder
    std::string databaseFile;  ///< or the address of a server; empty: the default file
    bool noCacheDb = false;
    bool noLog = false;
    bool json = false;
    bool quiet = false;
    ProgressMode progress = ProgressMode::Auto;
    std::optional<int> rate;
    std::optional<double> fps;  ///< exact: 30000/1001 for 29.97
    bool dropFrame = false;     ///< --fps asks for drop-frame timecode
    std::optional<int> grid;    ///< empty: the smallest grid on which nothing moves
    std::vector<otio::MediaRoot> mediaRoots;
    bool allowMissing = false;  ///< missing media of a timeline are silent
    int keepDays = 30;
    std::optional<long long> cacheSize;  ///< maximum size of the cache, bytes
    long long spoolLimit = 4LL << 30;    ///< maximum size of an INPUT that is spooled, bytes
    Spool spool;                         ///< set while a command runs
};

void DeclareGlobalOptions(CLI::App& app, GlobalOptions& options);

/// @throws UsageError for options that contradict each other
void CheckGlobalOptions(const GlobalOptions& options);

}  // namespace orlo::host
