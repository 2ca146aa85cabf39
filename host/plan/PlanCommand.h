// SPDX-License-Identifier: MIT
#pragma once

#include "host/options/GlobalOptions.h"
#include "host/plan/PlanOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// Prints the commands that divide the work of another command among machines.
Outcome RunPlan(const GlobalOptions& global, const PlanOptions& options);

}  // namespace orlo::host
