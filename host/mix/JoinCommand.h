// SPDX-License-Identifier: MIT
#pragma once

#include "host/mix/JoinOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// Puts the parts of a mix together.
Outcome RunJoin(const GlobalOptions& global, const JoinOptions& options);

}  // namespace orlo::host
