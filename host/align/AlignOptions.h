// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/options/JobsOption.h"
#include "host/options/SoundOptions.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct AlignOptions {
    std::vector<std::string> inputs;  ///< at least two; all are aligned with the first
    SoundOptions sound;
    JobsOption jobs;
    double minCorrelation = 0.3;
    std::string plot;
    std::string otio;
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

void DeclareAlignOptions(CLI::App& command, AlignOptions& options);

}  // namespace orlo::host
