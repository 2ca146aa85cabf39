// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/mix/MixOptions.h"
#include "host/options/GlobalOptions.h"

namespace orlo::host {

/// The options of a mix that a manifest records.
struct RecordedMix {
    GlobalOptions global;
    MixOptions options;
};

/// Reads the options of a manifest as a command line of `mix`.
/// @param path    of the manifest, for messages
/// @param input   of the mix
/// @param global  of this command; cache, progress and media roots are kept, and its media roots
///                come first
/// @throws JobError for a wrong value, with the option
RecordedMix MixOfManifest(const Json& manifest, const std::string& path, const std::string& input,
                          const GlobalOptions& global);

}  // namespace orlo::host
