// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

/// Typed access to the members of JSON objects. A value of the wrong type is an error where it
/// determines positions; elsewhere it is reported and ignored.
namespace orlo::host::otio {

/// The member; null when it does not exist or @p object is not an object.
const Json* Member(const Json& object, const char* key);

/// The schema name without its version; empty when there is none. Old names are converted to the
/// current names.
std::string SchemaName(const Json& object);

/// A string member; an empty string when it is missing or has another type.
std::string StringMember(const Json& object, const char* key);

/// The items of a list member; a missing or null member is an empty list.
/// @throws DocumentError when the member has another type
const Json::Items& ListMember(const Json& object, const char* key, const SourceLocation& place);

/// A TimeRange member; nullopt when it is missing or null. A missing or unusable number counts as
/// 0, and a value that is not finite is reported.
/// @throws DocumentError when the member is not a range
std::optional<TimeRange> RangeMember(const Json& object, const char* key,
                                     const SourceLocation& place, ImportReport& report);

/// A time member; 0 when it is missing. Reports the same values as RangeMember.
/// @throws DocumentError when the member is not a time
RationalTime TimeMember(const Json& object, const char* key, const SourceLocation& place,
                        ImportReport& report);

/// A boolean member; @p fallback when it is missing. A value of another type is reported and
/// replaced by @p fallback.
bool BoolMember(const Json& object, const char* key, bool fallback, const SourceLocation& place,
                ImportReport& report);

/// The media reference of a clip; the active reference when there are several. Where the active
/// reference does not exist, DEFAULT_MEDIA, else the first by name. Null when there is none.
const Json* ActiveReference(const Json& clip);

/// Reports an active reference that does not exist.
void NoteActiveReference(const Json& clip, const SourceLocation& place, ImportReport& report);

/// The metadata that @p program stores in an object; null when there is none.
const Json* MetadataOf(const Json& object, const char* program);

/// The metadata of Sonrel in an object; null when there is none. Metadata of another type than an
/// object is reported.
const Json* OwnMetadataOf(const Json& object, const SourceLocation& place, ImportReport& report);

/// @p value as a finite single-precision number. Any other value is reported; the result is
/// nullopt.
/// @param what  name of the value in the report
std::optional<float> FloatValue(const Json& value, const std::string& what,
                                const SourceLocation& place, ImportReport& report);

/// A level in decibels: a number, or a list of pairs of milliseconds and decibels. Any other key is
/// left out and reported.
Level LevelValue(const Json& value, const std::string& what, const SourceLocation& place,
                 ImportReport& report);

}  // namespace orlo::host::otio
