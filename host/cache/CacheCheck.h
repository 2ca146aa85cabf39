// SPDX-License-Identifier: MIT
#pragma once

#include "host/media/EngineSession.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// Compares the records of the database with the files of the cache folder. Changes neither.
/// @param deep  also reads every file to its end, compares checksums and the state of the media
///              files, and fails with exit code 1 when a file has a fault
/// @throws JobError when the database or the folder cannot be read; CommandError when the program
///         is asked to stop
Outcome CheckCache(const CachePaths& paths, bool deep);

}  // namespace orlo::host
