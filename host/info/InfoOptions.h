// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::host {

struct InfoOptions {
    std::string input;
};

}  // namespace orlo::host
