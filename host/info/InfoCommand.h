// SPDX-License-Identifier: MIT
#pragma once

#include "host/info/InfoOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

Outcome RunInfo(const GlobalOptions& global, const InfoOptions& options);

}  // namespace orlo::host
