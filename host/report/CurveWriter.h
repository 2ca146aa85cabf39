// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/report/ReportPage.h"

namespace orlo::host {

/// The rows of the master peak with its clip marks, and of the short-term loudness.
std::string CurveRows(const ReportPage& page);

/// The curves for the script of the page, in tenths of dB and LUFS.
std::string CurveData(const PageCurves& curves);

}  // namespace orlo::host
