// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

namespace orlo::host::otio {

/// A place in a timeline, for people: a track, and an item of it unless it is about the track.
struct SourceLocation {
    std::string track;  ///< "track 2 'Music'"; empty for the timeline itself
    std::string item;   ///< "item 3 'chorus'"; empty for the track itself
};

/// "track 2 'Music', item 3 'chorus'", or "the timeline".
std::string ToText(const SourceLocation& place);

/// What an import left out, changed or had to guess. Nothing of a timeline vanishes without an
/// entry.
class ImportReport {
public:
    struct Entry {
        std::string what;    ///< the kind of thing: "transition", "effect 'Blur'"
        std::string where;   ///< its place, or the first places of several
        std::string reason;  ///< why, and what happens instead
        int count = 0;
    };

    /// Notes one thing. Things of one kind with one reason on one track become one entry.
    void Add(const std::string& what, const SourceLocation& place, const std::string& reason);

    /// In the order in which each was noted first.
    std::vector<Entry> Entries() const;

private:
    struct Group {
        std::string what;
        std::string reason;
        std::string track;
        std::vector<std::string> items;
        int count = 0;
    };

    std::vector<Group> groups_;
    std::map<std::string, std::size_t> index_;
};

}  // namespace orlo::host::otio
