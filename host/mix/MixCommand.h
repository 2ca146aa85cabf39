// SPDX-License-Identifier: MIT
#pragma once

#include "host/mix/MixOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

Outcome RunMix(const GlobalOptions& global, const MixOptions& options);

}  // namespace orlo::host
