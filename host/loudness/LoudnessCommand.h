// SPDX-License-Identifier: MIT
#pragma once

#include "host/loudness/LoudnessOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

Outcome RunLoudness(const GlobalOptions& global, const LoudnessOptions& options);

}  // namespace orlo::host
