// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/JsonDocument.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Parses the JSON document of a timeline.
///
/// The top may be a Timeline, a Stack, a Track, a Clip or a SerializableCollection. Schema names
/// count and their versions do not. Unknown objects and tracks of another kind are reported and
/// ignored.
/// @throws DocumentError when the document has another top, or when a number or list that
///         determines positions has another type
Timeline ParseTimeline(const Json& document, AudioFrom from, ImportReport& report);

}  // namespace orlo::host::otio
