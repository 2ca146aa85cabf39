// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/report/ReportPage.h"

namespace orlo::host {

/// Height of the view of a waveform; full scale is from 0 to this height.
constexpr int WAVE_HEIGHT = 80;

/// The data of a path that encloses a waveform: one unit of the view for each point.
std::string WavePath(const Envelope& wave);

}  // namespace orlo::host
