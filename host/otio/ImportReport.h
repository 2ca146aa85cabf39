// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/otio/SourceLocation.h"

namespace orlo::host::otio {

/// The consequence of an entry for the sound, the most important first.
enum class Severity {
    Silence,  ///< sound is not heard
    Change,   ///< sound may differ: its level, place, channels, effects or transitions
    Note      ///< the sound is as intended
};

/// "silence", "change" or "note".
const char* SeverityName(Severity severity);

/// List of the parts of a timeline that an import left out, changed or guessed. Every such part has
/// an entry.
class ImportReport {
public:
    struct Entry {
        std::string what;                    ///< kind of the part: "transition", "effect 'Blur'"
        std::string where;                   ///< the first places, at most eight
        std::vector<SourceLocation> places;  ///< the same
        std::string reason;                  ///< the reason and the consequence
        int count = 0;
        Severity severity = Severity::Change;

        /// Whether the entry has more places than listed.
        bool HasMorePlaces() const;
    };

    /// Adds a part. Parts of the same kind with the same reason and severity share an entry.
    /// @param count  number of parts, of which @p place is one
    void Add(const std::string& what, const SourceLocation& place, const std::string& reason,
             Severity severity = Severity::Change, int count = 1);

    /// The entries, the most important first, and entries of one severity in the order of their
    /// first part.
    std::vector<Entry> Entries() const;

    bool IsEmpty() const { return groups_.empty(); }

private:
    struct Group {
        std::string what;
        std::string reason;
        Severity severity = Severity::Change;
        std::vector<SourceLocation> places;
        int count = 0;
    };

    static std::string PlacesText(const Group& group);

    std::vector<Group> groups_;
    std::map<std::string, std::size_t> index_;
};

}  // namespace orlo::host::otio
