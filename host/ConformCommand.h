// SPDX-License-Identifier: MIT
#pragma once

#include "host/ConformOptions.h"
#include "host/GlobalOptions.h"
#include "host/Outcome.h"

namespace orlo::host {

Outcome RunConform(const GlobalOptions& global, const ConformOptions& options);

}  // namespace orlo::host
