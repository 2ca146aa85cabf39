// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/arrangement/TimelineImport.h"
#include "host/options/GlobalOptions.h"

namespace orlo::host {

/// The file with the document of INPUT, a timeline of any format: the file itself, or content.otio
/// in its folder or unpacked archive.
std::string DocumentOf(const std::string& input, const GlobalOptions& global);

/// Imports INPUT, a timeline of any format: a timeline in an archive is unpacked, a timeline of
/// another format is converted.
/// @throws DocumentError as in otio::ImportTimeline; JobError and CommandError as in UnpackTimeline
///         and ConvertTimeline
otio::TimelineImport ImportInput(const std::string& input, const GlobalOptions& global,
                                 const otio::ImportOptions& options);

}  // namespace orlo::host
