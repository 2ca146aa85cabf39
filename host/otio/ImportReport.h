// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

namespace orlo::host::otio {

/// A place in a timeline, as text for messages: a track, or an item on a track.
struct SourceLocation {
    std::string track;  ///< "track 2 'Music'"; empty for the timeline itself
    std::string item;   ///< "item 3 'chorus'"; empty for the track itself
};

/// "track 2 'Music', item 3 'chorus'", or "the timeline".
std::string ToText(const SourceLocation& place);

/// List of the parts of a timeline that an import left out, changed or guessed. Every such part has
/// an entry.
class ImportReport {
public:
    struct Entry {
        std::string what;    ///< kind of the part: "transition", "effect 'Blur'"
        std::string where;   ///< the place, or the first of several places
        std::string reason;  ///< the reason and the consequence
        int count = 0;
    };

    /// Adds a part. Parts of the same kind with the same reason on the same track share an entry.
    /// @param count  number of parts, of which @p place is one
    void Add(const std::string& what, const SourceLocation& place, const std::string& reason,
             int count = 1);

    /// The entries in the order of their first part.
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
