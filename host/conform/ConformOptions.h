// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace orlo::host {

struct ConformOptions {
    std::vector<std::string> inputs;
    int jobs = 1;
    bool allCodecs = false;
    bool force = false;
};

}  // namespace orlo::host
