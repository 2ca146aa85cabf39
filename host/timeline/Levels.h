// SPDX-License-Identifier: MIT
#pragma once

#include "host/arrangement/Arrangement.h"
#include "sonrel/plugins/PropertyManager.h"

namespace orlo::host {

/// Sets the level of an object, layer, track or master track; an empty level is left out.
void SetLevel(project::PropertyManager& properties, const otio::LevelCurve& level);

/// A level that is higher by a number of decibels at every time.
otio::LevelCurve Raised(const otio::LevelCurve& level, double decibels);

}  // namespace orlo::host
