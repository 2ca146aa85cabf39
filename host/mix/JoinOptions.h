// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct JoinOptions {
    std::vector<std::string> parts;
    std::string output;
    std::string meters;
    bool failOnClip = false;
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

void DeclareJoinOptions(CLI::App& command, JoinOptions& options);

}  // namespace orlo::host
