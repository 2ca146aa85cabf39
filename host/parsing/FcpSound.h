// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/parsing/SoundTarget.h"

namespace orlo::host::otio {

/// Parses an effect in the metadata "fcp_xml", where the adapter of OpenTimelineIO stores a filter
/// of FCP 7 XML: audio levels and audio pan. Others are reported with @p name.
/// @param rate  of the frames of key frames
void ParseFcpEffect(const Json& metadata, const std::string& name, double rate,
                    const SoundTarget& target, ImportReport& report);

}  // namespace orlo::host::otio
