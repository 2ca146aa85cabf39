// SPDX-License-Identifier: MIT
#include "host/timeline/Strictness.h"

#include "host/shell/Text.h"

namespace orlo::host {

void FailOnEntries(const std::string& input, const otio::ImportReport& report,
                   const std::string& consequence, Outcome& outcome) {
    const std::vector<otio::ImportReport::Entry> entries = report.Entries();
    if (entries.empty() || outcome.code != ExitCode::Done) return;
    const otio::ImportReport::Entry& first = entries.front();
    std::string clause =
        consequence + "--strict and " + Quoted(input) + " has " + std::to_string(entries.size()) +
        (entries.size() == 1 ? " entry" : " entries") + ": " + OneLine(first.what) + ", " +
        OneLine(first.where) + ": " + OneLine(first.reason);
    if (entries.size() > 1) clause += " (and " + std::to_string(entries.size() - 1) + " more)";
    outcome.Fail(ExitCode::ConditionFailed,
                 clause + "; correct the timeline, or leave out --strict");
}

}  // namespace orlo::host
