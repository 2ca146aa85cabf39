// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "host/measure/Loudness.h"
#include "host/measure/MeterSummary.h"
#include "host/shell/Outcome.h"
#include "host/shell/Summary.h"
#include "sonrel/loudness/LoudnessMeter.h"

namespace orlo::host {

/// Adds the levels of a mix that need attention to a summary: silence, clipping and true peak.
/// @param master  null for the mix of a media file, which has no meters
void SummarizeLevels(const LoudnessMeter& loudness, const SignalSummary* master,
                     const FrameGrid& grid, Summary& summary);

/// Adds all results of a meter to a JSON object: "integrated", "range", "momentaryMax",
/// "shortTermMax" and "truePeak", null where the meter measured nothing.
void AddLoudness(const sonrel::LoudnessMeter& meter, Json& object);

/// A result as text: "-23.1 LUFS", or "none".
std::string LevelOrNone(const std::optional<double>& level, const char* unit);

}  // namespace orlo::host
