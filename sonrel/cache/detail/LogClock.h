// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <functional>

namespace orlo::project {

/// Sets the clock for the time stamps of all logs.
/// @param clock  returns local time; empty for the system's clock
void SetLogClock(std::function<QDateTime()> clock);

}  // namespace orlo::project
