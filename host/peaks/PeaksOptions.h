// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/media/PeakMaking.h"
#include "host/options/JobsOption.h"
#include "host/options/SoundOptions.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct PeaksOptions {
    std::vector<std::string> inputs;
    SoundOptions sound;
    std::string output;  ///< empty: writes to the cache
    PeakMode mode = PeakMode::Auto;
    JobsOption jobs;
    std::string exportFile;
    int zoom = 256;          ///< samples per pixel of the export
    bool force = false;      ///< recreate existing files
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

void DeclarePeaksOptions(CLI::App& command, PeaksOptions& options);

}  // namespace orlo::host
