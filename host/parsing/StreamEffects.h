// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// The sound that the streams of a media reference and the stream effects of a clip describe: the
/// stream and channel mapping of OpenTimelineIO.
/// @param reference  the JSON object of the media reference; may be null
/// @param item  its level receives the gain of a matrix
/// @return empty where they choose nothing. A matrix that adds streams is reported
std::optional<zrh::media::SoundChoice> StreamEffectSound(const Json& clip, const Json* reference,
                                                         Item& item, ImportReport& report);

/// Whether an effect is one of the stream and channel mapping.
bool IsStreamEffect(const std::string& schema);

}  // namespace orlo::host::otio
