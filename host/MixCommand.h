// SPDX-License-Identifier: MIT
#pragma once

#include "host/GlobalOptions.h"
#include "host/MixOptions.h"
#include "host/Outcome.h"

namespace orlo::host {

Outcome RunMix(const GlobalOptions& global, const MixOptions& options);

}  // namespace orlo::host
