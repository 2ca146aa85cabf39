// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/options/AudioFromOption.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct InfoOptions {
    std::string input;
    otio::AudioFrom audioFrom = otio::AudioFrom::Auto;
    bool strict = false;
};

void DeclareInfoOptions(CLI::App& command, InfoOptions& options);

}  // namespace orlo::host
