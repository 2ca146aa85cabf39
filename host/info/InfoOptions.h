// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct InfoOptions {
    std::string input;
    bool strict = false;
};

void DeclareInfoOptions(CLI::App& command, InfoOptions& options);

}  // namespace orlo::host
