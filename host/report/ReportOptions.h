// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "host/options/AudioFromOption.h"
#include "host/options/SoundOptions.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct ReportOptions {
    std::string input;
    std::string output;
    std::string from;
    std::string to;
    std::optional<std::string> composition;  ///< name of the nested item to show
    SoundOptions sound;                      ///< of a media file
    bool strict = false;
    otio::AudioFrom audioFrom = otio::AudioFrom::Auto;
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

void DeclareReportOptions(CLI::App& command, ReportOptions& options);

}  // namespace orlo::host
