// SPDX-License-Identifier: MIT
#pragma once

#include "host/options/GlobalOptions.h"
#include "host/report/ReportOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// Writes a page that shows a timeline or a media file and its levels.
Outcome RunReport(const GlobalOptions& global, const ReportOptions& options);

}  // namespace orlo::host
