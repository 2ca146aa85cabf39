// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/media/EngineSession.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Progress.h"
#include "host/timeline/Input.h"
#include "sonrel/loudness/LoudnessMeter.h"

namespace orlo::host {

/// The measurement of an INPUT.
struct InputMeasurement {
    sonrel::LoudnessMeter meter;
    otio::ImportReport report;  ///< empty for a media file
};

/// Measures a media file, or the mix of a timeline with the dither and the seed that mix takes
/// without options. Conforms the media files that are not conformed.
/// @throws JobError when a file cannot be read; ConditionError when media are missing; CommandError
///         when the program is asked to stop
InputMeasurement MeasureInput(const std::string& input, const GlobalOptions& global,
                              const zrh::media::SoundChoice& sound, const EngineSession& session,
                              Progress& progress);

}  // namespace orlo::host
