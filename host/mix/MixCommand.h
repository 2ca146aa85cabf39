// SPDX-License-Identifier: MIT
#pragma once

#include "host/mix/MixOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

Outcome RunMix(const GlobalOptions& global, const MixOptions& options);

/// Mixes without an output, and returns the manifest of the mix.
/// @throws CommandError of any kind; JobError when media files are missing
Json RenderManifest(const GlobalOptions& global, MixOptions options);

}  // namespace orlo::host
