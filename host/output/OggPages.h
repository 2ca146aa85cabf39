// SPDX-License-Identifier: MIT
#pragma once

#include "host/output/PartialFile.h"

namespace orlo::host {

/// Sets the serial number of the only stream in an Ogg file to 1. The sound file library takes it
/// from the clock, so that no two files would have the same bytes.
/// @throws JobError
void FixOggSerial(PartialFile& file);

}  // namespace orlo::host
