// SPDX-License-Identifier: MIT
#include "host/report/PageEntries.h"

#include <utility>

namespace orlo::host {

std::vector<PageEntry> PageEntries(const otio::ImportReport& report, const ElementOf& elementOf) {
    std::vector<PageEntry> entries;
    for (const otio::ImportReport::Entry& entry : report.Entries()) {
        PageEntry& shown = entries.emplace_back();
        shown.severity = entry.severity;
        shown.what = entry.what;
        shown.reason = entry.reason;
        shown.count = entry.count;
        shown.hasMore = entry.HasMorePlaces();
        for (const otio::SourceLocation& place : entry.places) {
            shown.places.push_back({ToText(place), elementOf(place)});
        }
    }
    return entries;
}

}  // namespace orlo::host
