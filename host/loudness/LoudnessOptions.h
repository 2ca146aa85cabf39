// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/options/SoundOptions.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct LoudnessOptions {
    std::vector<std::string> inputs;
    SoundOptions sound;               ///< of media files
    std::optional<double> target;     ///< LUFS
    std::optional<double> tolerance;  ///< LU; only with target
};

void DeclareLoudnessOptions(CLI::App& command, LoudnessOptions& options);

}  // namespace orlo::host
