// SPDX-License-Identifier: MIT
#pragma once

#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"
#include "host/waveform/WaveformOptions.h"

namespace orlo::host {

Outcome RunWaveform(const GlobalOptions& global, const WaveformOptions& options);

}  // namespace orlo::host
