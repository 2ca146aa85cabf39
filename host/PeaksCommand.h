// SPDX-License-Identifier: MIT
#pragma once

#include "host/GlobalOptions.h"
#include "host/Outcome.h"
#include "host/PeaksOptions.h"

namespace orlo::host {

Outcome RunPeaks(const GlobalOptions& global, const PeaksOptions& options);

}  // namespace orlo::host
