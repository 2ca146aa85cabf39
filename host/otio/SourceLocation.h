// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

namespace orlo::host::otio {

/// A place in a timeline, as text for messages: a track, or an item on a track.
struct SourceLocation {
    std::string track;  ///< "track 2 'Music'"; empty for the timeline itself
    std::string item;   ///< "item 3 'chorus'"; empty for the track itself

    bool operator==(const SourceLocation&) const = default;
};

/// "track 2 'Music', item 3 'chorus'", or "the timeline".
std::string ToText(const SourceLocation& place);

/// A number and a name: "track 2 'Music'". A long name is shortened.
std::string Label(const char* kind, std::size_t number, const std::string& name);

/// The place of a track inside a nested item. A place that is too long is cut at its beginning.
/// @param label  of the track
SourceLocation InnerLocation(const SourceLocation& nested, const std::string& label);

}  // namespace orlo::host::otio
