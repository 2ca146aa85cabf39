// SPDX-License-Identifier: MIT
#pragma once

#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"
#include "host/verify/VerifyOptions.h"

namespace orlo::host {

/// Mixes again with the timeline and the options of a manifest, without an output, and compares.
Outcome RunVerify(const GlobalOptions& global, const VerifyOptions& options);

}  // namespace orlo::host
