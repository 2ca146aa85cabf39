// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/parsing/SoundTarget.h"

namespace orlo::host::otio {

/// Whether a clip has an equaliser that is switched off, so that its bands change nothing.
/// @param effects  of the clip
bool HasDisabledEqualiser(const Json::Items& effects);

/// Parses an effect in the metadata "Resolve_OTIO": the volume and fades, and the pan. Others are
/// reported, except effects that change nothing.
/// @param withoutBands  the bands of an equaliser change nothing
void ParseResolveEffect(const Json& metadata, bool withoutBands, const SoundTarget& target,
                        ImportReport& report);

/// The length of a fade in frames. A value that is not a length is reported; the result is
/// nullopt.
std::optional<double> FadeLength(const Json& value, const std::string& what,
                                 const SourceLocation& place, ImportReport& report);

}  // namespace orlo::host::otio
