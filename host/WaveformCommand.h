// SPDX-License-Identifier: MIT
#pragma once

#include "host/GlobalOptions.h"
#include "host/Outcome.h"
#include "host/WaveformOptions.h"

namespace orlo::host {

Outcome RunWaveform(const GlobalOptions& global, const WaveformOptions& options);

}  // namespace orlo::host
