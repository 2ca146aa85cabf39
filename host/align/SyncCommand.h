// SPDX-License-Identifier: MIT
#pragma once

#include "host/align/SyncOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// Aligns all recordings of folders and files with one of them, and writes a timeline.
Outcome RunSync(const GlobalOptions& global, const SyncOptions& options);

}  // namespace orlo::host
