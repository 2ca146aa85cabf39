// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/otio/ImportReport.h"
#include "host/report/ReportPage.h"

namespace orlo::host {

/// The element of a place on a page; empty when it has none.
using ElementOf = std::function<std::string(const otio::SourceLocation& place)>;

/// The entries of an import report, the most important first, with the elements of their places.
std::vector<PageEntry> PageEntries(const otio::ImportReport& report, const ElementOf& elementOf);

}  // namespace orlo::host
