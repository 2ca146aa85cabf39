// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

/// Typed access to the members of a document's objects. The first group throws where a value that
/// decides about positions has the wrong type; the second notes it and goes on without.
namespace orlo::host::otio {

/// The member, or null where there is none or @p object is no object.
const Json* Member(const Json& object, const char* key);

/// The schema's name without its version; empty where there is none. Old names are given as new
/// ones.
std::string SchemaName(const Json& object);

/// A string member, or an empty string.
std::string StringMember(const Json& object, const char* key);

/// The items of a list member; a missing or null member is an empty list.
/// @throws DocumentError when it is something else
const Json::Items& ListMember(const Json& object, const char* key, const SourceLocation& place);

/// A TimeRange member; nothing where it is missing or null. A missing or unusable number reads as
/// 0, and a value that is not finite is noted.
/// @throws DocumentError when it is no range
std::optional<TimeRange> RangeMember(const Json& object, const char* key,
                                     const SourceLocation& place, ImportReport& report);

/// A time member; 0 where it is missing, with the notes of a range.
/// @throws DocumentError when it is no time
RationalTime TimeMember(const Json& object, const char* key, const SourceLocation& place,
                        ImportReport& report);

/// A boolean member; @p fallback, with a note, where it is something else.
bool BoolMember(const Json& object, const char* key, bool fallback, const SourceLocation& place,
                ImportReport& report);

/// The member of an object's metadata that belongs to one program; null without one.
const Json* MetadataOf(const Json& object, const char* program);

/// A finite single-precision number out of @p value; nothing, with a note, where it is none.
/// @param what  the value's name for the note
std::optional<float> FloatValue(const Json& value, const std::string& what,
                                const SourceLocation& place, ImportReport& report);

/// A level in decibels: a number, or a list of pairs of milliseconds and decibels. Keys that are no
/// such pair are left out with a note.
Level LevelValue(const Json& value, const std::string& what, const SourceLocation& place,
                 ImportReport& report);

}  // namespace orlo::host::otio
