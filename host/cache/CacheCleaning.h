// SPDX-License-Identifier: MIT
#pragma once

#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// Removes cache files that were not used for --keep-days days, and those beyond --cache-size.
/// @param orphans  also removes the files without a record
/// @param dryRun   only lists the files
/// @throws JobError when the database or the folder cannot be read or changed
Outcome CleanCache(const GlobalOptions& global, bool orphans, bool dryRun);

}  // namespace orlo::host
