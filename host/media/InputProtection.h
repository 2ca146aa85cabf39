// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/options/GlobalOptions.h"
#include "host/otio/TimelineImport.h"
#include "host/output/OutputGuard.h"

/// The files that no output of a command may replace.
namespace orlo::host {

/// The media cache of the options, or the default one with --no-cache-db: its files, whether the
/// database knows them or not, the database with its companions, and the error log.
void ProtectCache(const GlobalOptions& options, OutputGuard& guard);

/// A timeline and every file that it names.
void ProtectTimeline(const std::string& input, const otio::TimelineImport& import,
                     OutputGuard& guard);

/// A media file that is an INPUT.
void ProtectMediaInput(const std::string& input, OutputGuard& guard);

}  // namespace orlo::host
