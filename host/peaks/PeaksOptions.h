// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/media/PeakMaking.h"

namespace orlo::host {

struct PeaksOptions {
    std::vector<std::string> inputs;
    std::string output;  ///< empty: to the cache
    PeakMode mode = PeakMode::Auto;
    std::string exportFile;
    int zoom = 256;          ///< samples in a pixel of the export
    bool force = false;      ///< make files anew that are there
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

}  // namespace orlo::host
