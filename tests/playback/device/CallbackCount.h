// SPDX-License-Identifier: MIT
#pragma once

namespace sonrel_tests {

/// What many callbacks of a device have come to.
struct CallbackCount {
    long long callbacks = 0;
    long long buffers = 0;  ///< heard
    int flushes = 0;
    int runs = 0;
    int failures = 0;  ///< commands that did not return success
};

/// Plays on an engine until the device has called back as often as asked for: a metered sequence in
/// buffers of eight samples, with a flush every now and then and a new run after every few flushes.
/// No run comes to its end. RealTimeProbe counts what the callbacks do.
CallbackCount CountCallbacks(long long atLeast);

}  // namespace sonrel_tests
