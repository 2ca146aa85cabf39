// SPDX-License-Identifier: MIT
#pragma once

namespace sonrel_tests {

/// The figures of many callbacks of a device.
struct CallbackCount {
    long long callbacks = 0;
    long long buffers = 0;  ///< heard
    int flushes = 0;
    int runs = 0;
    int failures = 0;  ///< commands that did not return success
};

/// Plays on an engine until the device has called back this often: a metered sequence in buffers of
/// eight samples, with a flush now and then and a new run after every few flushes. No run reaches
/// its end. RealTimeProbe counts the allocations, locks, waits and file calls of the callbacks.
CallbackCount CountCallbacks(long long atLeast);

}  // namespace sonrel_tests
