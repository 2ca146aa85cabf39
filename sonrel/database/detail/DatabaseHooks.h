// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace orlo::project {

/// Sets the clock that stamps and ages records, for every connection made afterwards.
/// @param clock  milliseconds since 1970, UTC; empty for the system's clock
void SetDatabaseClock(std::function<long long()> clock);

/// Sets how long every connection made afterwards waits for a lock.
/// @param milliseconds  5000 unless set
void SetDatabaseBusyTimeout(int milliseconds);

/// The clock's time now.
long long DatabaseNow();

/// How long to wait for a lock, milliseconds.
int DatabaseBusyTimeout();

}  // namespace orlo::project
