// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/parsing/SoundTarget.h"

namespace orlo::host::otio {

/// Parses an effect in the metadata "AAF", where the adapter of OpenTimelineIO stores an operation
/// of an AAF file: the gain and the pan of sound. Others are reported with @p name.
void ParseAafEffect(const Json& metadata, const std::string& name, const SoundTarget& target,
                    ImportReport& report);

/// Parses the fades in the metadata "AAF" of a clip, which count edit units.
/// @param rate  edit units a second
void ParseAafFades(const Json& metadata, double rate, const SoundTarget& target);

}  // namespace orlo::host::otio
