// SPDX-License-Identifier: MIT
#pragma once

#include "host/options/GlobalOptions.h"
#include "host/peaks/PeaksOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

Outcome RunPeaks(const GlobalOptions& global, const PeaksOptions& options);

}  // namespace orlo::host
