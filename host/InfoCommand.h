// SPDX-License-Identifier: MIT
#pragma once

#include "host/GlobalOptions.h"
#include "host/InfoOptions.h"
#include "host/Outcome.h"

namespace orlo::host {

Outcome RunInfo(const GlobalOptions& global, const InfoOptions& options);

}  // namespace orlo::host
