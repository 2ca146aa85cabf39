// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/parsing/SoundTarget.h"

namespace orlo::host::otio {

/// Parses an effect in the metadata "fcp_xml", where the adapter of OpenTimelineIO stores a filter
/// of FCP 7 XML: audio levels and audio pan. Others are reported with @p name.
/// @param rate  of the frames of key frames
void ParseFcpEffect(const Json& metadata, const std::string& name, double rate,
                    const SoundTarget& target, ImportReport& report);

/// The values of a name in metadata "fcp_xml": none, one, or a list.
std::vector<const Json*> FcpElements(const Json& object, const char* key);

/// The parameter of an effect with this identifier. Null when there is none.
const Json* FcpParameter(const Json& metadata, const std::string& id);

/// Whether a program has switched an effect or a parameter off.
bool IsFcpBypassed(const Json& object);

/// The number in a member; nullopt when it is missing or not a number.
std::optional<double> FcpNumber(const Json& object, const char* key);

}  // namespace orlo::host::otio
