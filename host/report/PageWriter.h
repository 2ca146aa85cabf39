// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/report/ReportPage.h"

namespace orlo::host {

/// A page as a self-contained document of HTML. The same page gives the same bytes.
std::string PageDocument(const ReportPage& page);

}  // namespace orlo::host
