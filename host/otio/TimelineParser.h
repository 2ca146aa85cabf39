// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/JsonDocument.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Takes a timeline out of its document.
///
/// The top may be a Timeline, a Stack, a Track, a Clip or a SerializableCollection. Schema names
/// count and their versions do not. What is unknown is noted in the report and passed over, as are
/// the tracks of another kind.
/// @param wanted  the kind of the tracks that are to sound: Audio or Video
/// @throws DocumentError where the document has another top, or a number or list that decides about
///         positions is something else
Timeline ParseTimeline(const Json& document, Track::Kind wanted, ImportReport& report);

}  // namespace orlo::host::otio
