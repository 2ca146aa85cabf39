// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/align/AlignOptions.h"

namespace orlo::host {

/// The options of align, with folders and files as inputs.
struct SyncOptions : AlignOptions {
    std::string reference;  ///< empty: the longest recording without picture
};

void DeclareSyncOptions(CLI::App& command, SyncOptions& options);

}  // namespace orlo::host
