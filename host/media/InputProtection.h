// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/arrangement/TimelineImport.h"
#include "host/options/GlobalOptions.h"
#include "host/output/OutputGuard.h"

/// Protection of the files that no output of a command may replace.
namespace orlo::host {

/// Protects the media cache of the options, or the default cache with --no-cache-db: its files,
/// recorded in the database or not, the database with its companion files, and the error log.
void ProtectCache(const GlobalOptions& options, OutputGuard& guard);

/// Protects a timeline and every file that it refers to.
void ProtectTimeline(const std::string& input, const otio::TimelineImport& import,
                     OutputGuard& guard);

/// Protects a media file that is an INPUT.
void ProtectMediaInput(const std::string& input, OutputGuard& guard);

}  // namespace orlo::host
