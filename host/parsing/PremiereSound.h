// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/parsing/SoundTarget.h"

namespace orlo::host::otio {

/// Parses an effect in the metadata "PremierePro_OTIO": the volume of a clip, the fader of a track
/// and the pan of both. Others are reported with @p name, except pictures and effects that change
/// nothing.
void ParsePremiereEffect(const Json& metadata, const std::string& name, const SoundTarget& target,
                         ImportReport& report);

}  // namespace orlo::host::otio
