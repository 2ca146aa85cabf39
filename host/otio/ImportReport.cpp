// SPDX-License-Identifier: MIT
#include "host/otio/ImportReport.h"

#include <algorithm>

namespace orlo::host::otio {

namespace {

constexpr std::size_t NAMED_PLACES = 8;
/// Places of nested items are long. Further places are not named when the text has this size.
constexpr std::size_t MAX_PLACES_SIZE = 400;

bool HasMore(const std::vector<SourceLocation>& places, int count) {
    return places.size() == NAMED_PLACES && count > static_cast<int>(NAMED_PLACES);
}

}  // namespace

const char* SeverityName(Severity severity) {
    switch (severity) {
        case Severity::Silence:
            return "silence";
        case Severity::Change:
            return "change";
        case Severity::Note:
            break;
    }
    return "note";
}

bool ImportReport::Entry::HasMorePlaces() const {
    return HasMore(places, count);
}

void ImportReport::Add(const std::string& what, const SourceLocation& place,
                       const std::string& reason, Severity severity, int count) {
    const std::string key = what + '\0' + reason + '\0' + SeverityName(severity);
    const auto [at, isNew] = index_.try_emplace(key, groups_.size());
    if (isNew) groups_.push_back({what, reason, severity, {}, 0});
    Group& entry = groups_[at->second];
    entry.count += count;
    if (entry.places.size() >= NAMED_PLACES) return;
    if (std::find(entry.places.begin(), entry.places.end(), place) != entry.places.end()) return;
    entry.places.push_back(place);
}

/// "track 1, item 2, item 4; track 2, item 1": a track is named at its first item.
std::string ImportReport::PlacesText(const Group& group) {
    std::string text;
    const SourceLocation* last = nullptr;
    for (const SourceLocation& place : group.places) {
        const bool isSameTrack =
            last != nullptr && !place.item.empty() && last->track == place.track;
        const std::string next = isSameTrack ? place.item : ToText(place);
        if (last != nullptr && text.size() + next.size() > MAX_PLACES_SIZE) {
            return text + " and more";
        }
        if (last != nullptr) text += isSameTrack || place.item.empty() ? ", " : "; ";
        text += next;
        last = &place;
    }
    return HasMore(group.places, group.count) ? text + " and more" : text;
}

std::vector<ImportReport::Entry> ImportReport::Entries() const {
    std::vector<Entry> entries;
    entries.reserve(groups_.size());
    for (const Group& group : groups_) {
        entries.push_back({group.what, PlacesText(group), group.places, group.reason, group.count,
                           group.severity});
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.severity < b.severity; });
    return entries;
}

}  // namespace orlo::host::otio
