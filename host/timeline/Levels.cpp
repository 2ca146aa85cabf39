// SPDX-License-Identifier: MIT
#include "host/timeline/Levels.h"

namespace orlo::host {

void SetLevel(project::PropertyManager& properties, const otio::LevelCurve& level) {
    if (level.decibels) properties.SetStaticValue("audioLevel", *level.decibels);
    for (const otio::LevelCurve::Key& key : level.keys) {
        properties.SetKeyframe("audioLevel", key.timeMs, key.decibels);
    }
}

otio::LevelCurve Raised(const otio::LevelCurve& level, double decibels) {
    const auto raise = [decibels](float value) { return static_cast<float>(value + decibels); };
    otio::LevelCurve raised = level;
    raised.decibels = raise(level.decibels.value_or(0.0f));
    for (otio::LevelCurve::Key& key : raised.keys) key.decibels = raise(key.decibels);
    return raised;
}

}  // namespace orlo::host
