// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "host/arrangement/Arrangement.h"
#include "host/mix/MixBlocks.h"
#include "host/options/AudioFromOption.h"
#include "host/options/DitherChoice.h"
#include "host/options/GivenOptions.h"
#include "host/options/JobsOption.h"
#include "host/options/SoundOptions.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// Limit of --normalize without --true-peak, dBTP.
constexpr double DEFAULT_TRUE_PEAK = -1.0;

struct MixOptions {
    std::string input;
    std::string output;
    std::string from;
    std::string to;
    DitherChoice dither = DitherChoice::HighPass;
    unsigned int seed = 1;  ///< 0 takes a seed from the clock
    std::string meters;
    std::string manifest;
    std::optional<std::string> stems;        ///< folder
    std::optional<std::string> composition;  ///< name of the nested item to mix
    otio::Retime retime = otio::Retime::Otio;
    SoundOptions sound;               ///< of a media file
    std::optional<double> normalize;  ///< LUFS
    std::optional<double> truePeak;   ///< dBTP; only with normalize
    std::optional<double> gain;       ///< dB
    std::optional<PartChoice> part;   ///< the only part of the mix to write
    JobsOption jobs;
    bool failOnClip = false;
    bool strict = false;
    otio::AudioFrom audioFrom = otio::AudioFrom::Auto;
    bool overwrite = false;     ///< whether write-protected files may be replaced
    bool onlyManifest = false;  ///< the manifest is made, and nothing is written
    GivenOptions given;         ///< the options as the command line has them

    /// Whether samples and media files are hashed.
    bool NeedsManifest() const { return onlyManifest || !manifest.empty(); }
    /// The file that the progress of the mix names.
    const std::string& ProgressFile() const { return onlyManifest ? input : output; }
};

void DeclareMixOptions(CLI::App& command, MixOptions& options);

}  // namespace orlo::host
