// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <functional>

namespace orlo::project {

/// Sets the clock that stamps the lines of every log.
/// @param clock  local time; empty for the system's clock
void SetLogClock(std::function<QDateTime()> clock);

}  // namespace orlo::project
