// SPDX-License-Identifier: MIT
#include "host/otio/ImportReport.h"

#include <algorithm>

namespace orlo::host::otio {

namespace {

constexpr std::size_t NAMED_ITEMS = 8;

}  // namespace

std::string ToText(const SourceLocation& place) {
    if (place.track.empty()) return place.item.empty() ? "the timeline" : place.item;
    return place.item.empty() ? place.track : place.track + ", " + place.item;
}

void ImportReport::Add(const std::string& what, const SourceLocation& place,
                       const std::string& reason, int count) {
    // Reports about whole tracks share one group; items are grouped by track.
    const std::string group = place.item.empty() ? std::string() : place.track;
    const std::string key = what + '\0' + reason + '\0' + group;
    const auto [at, isNew] = index_.try_emplace(key, groups_.size());
    if (isNew) groups_.push_back({what, reason, group, {}, 0});
    Group& entry = groups_[at->second];
    entry.count += count;
    if (entry.items.size() >= NAMED_ITEMS) return;
    const std::string item =
        place.item.empty() ? ToText(place) : (group.empty() ? ToText(place) : place.item);
    if (std::find(entry.items.begin(), entry.items.end(), item) == entry.items.end()) {
        entry.items.push_back(item);
    }
}

std::vector<ImportReport::Entry> ImportReport::Entries() const {
    std::vector<Entry> entries;
    entries.reserve(groups_.size());
    for (const Group& group : groups_) {
        std::string where = group.track;
        for (const std::string& item : group.items) {
            if (!where.empty()) where += ", ";
            where += item;
        }
        if (group.items.size() == NAMED_ITEMS && group.count > static_cast<int>(NAMED_ITEMS)) {
            where += " and more";
        }
        entries.push_back({group.what, where, group.reason, group.count});
    }
    return entries;
}

}  // namespace orlo::host::otio
