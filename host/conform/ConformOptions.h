// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/options/AudioFromOption.h"
#include "host/options/JobsOption.h"
#include "host/options/SoundOptions.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct ConformOptions {
    std::vector<std::string> inputs;
    SoundOptions sound;
    JobsOption jobs;
    bool allCodecs = false;
    bool force = false;
    otio::AudioFrom audioFrom = otio::AudioFrom::Auto;
    bool strict = false;
};

void DeclareConformOptions(CLI::App& command, ConformOptions& options);

}  // namespace orlo::host
