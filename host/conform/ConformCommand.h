// SPDX-License-Identifier: MIT
#pragma once

#include "host/conform/ConformOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

Outcome RunConform(const GlobalOptions& global, const ConformOptions& options);

}  // namespace orlo::host
