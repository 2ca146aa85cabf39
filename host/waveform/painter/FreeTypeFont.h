// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "host/waveform/LabelFont.h"

namespace orlo::host {

/// Opens a font, as OpenLabelFont describes it.
std::unique_ptr<LabelFont> OpenFreeTypeFont(const std::string& file, int pixels);

}  // namespace orlo::host
