// SPDX-License-Identifier: MIT
#pragma once

#include "host/align/AlignOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

Outcome RunAlign(const GlobalOptions& global, const AlignOptions& options);

}  // namespace orlo::host
