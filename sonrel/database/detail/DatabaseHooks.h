// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>

namespace orlo::project {

/// Sets the clock of time stamps and ages, for every connection that is made afterwards.
/// @param clock  milliseconds since 1970, UTC; empty for the clock of the system
void SetDatabaseClock(std::function<long long()> clock);

/// Sets the time-out of locks, for every connection that is made afterwards.
/// @param milliseconds  5000 unless set
void SetDatabaseBusyTimeout(int milliseconds);

/// The current time of the clock.
long long DatabaseNow();

/// The time of a clock that was set; empty for the clock of the system.
std::optional<long long> TestDatabaseTime();

/// The time-out of a lock, milliseconds.
int DatabaseBusyTimeout();

}  // namespace orlo::project
