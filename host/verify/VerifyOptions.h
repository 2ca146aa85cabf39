// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/options/GivenOptions.h"
#include "host/options/JobsOption.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct VerifyOptions {
    std::string manifest;
    JobsOption jobs;
    bool cached = false;  ///< whether conformed files of the cache are used
    GivenOptions given;   ///< the options as the command line has them
};

void DeclareVerifyOptions(CLI::App& command, VerifyOptions& options);

}  // namespace orlo::host
