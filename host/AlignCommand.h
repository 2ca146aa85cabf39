// SPDX-License-Identifier: MIT
#pragma once

#include "host/AlignOptions.h"
#include "host/GlobalOptions.h"
#include "host/Outcome.h"

namespace orlo::host {

Outcome RunAlign(const GlobalOptions& global, const AlignOptions& options);

}  // namespace orlo::host
