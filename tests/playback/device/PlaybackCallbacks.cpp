// SPDX-License-Identifier: MIT
// Counts the allocations, locks, waits and file calls of a device's callbacks.
//
//   playback_callbacks [COUNT]
#include <exception>
#include <iostream>
#include <string>

#include "tests/playback/RealTimeProbe.h"
#include "tests/playback/device/CallbackCount.h"

using namespace sonrel_tests;

namespace {

int Run(long long atLeast) {
    RealTimeProbe::Clear();
    const CallbackCount count = CountCallbacks(atLeast);
    std::cout << "{\"figure\": \"device callbacks that allocate, lock, wait or call files\""
              << ", \"count\": " << count.callbacks
              << ", \"wrong\": " << RealTimeProbe::Sum() + count.failures
              << ", \"allocations\": " << RealTimeProbe::allocations
              << ", \"locks\": " << RealTimeProbe::locks << ", \"waits\": " << RealTimeProbe::waits
              << ", \"file_calls\": " << RealTimeProbe::fileCalls
              << ", \"failed_commands\": " << count.failures << ", \"buffers\": " << count.buffers
              << ", \"flushes\": " << count.flushes << ", \"runs\": " << count.runs << "}\n";
    return RealTimeProbe::Sum() + count.failures == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
    try {
        return Run(count > 1 ? std::stoll(arguments[1]) : 1'000'000);
    } catch (const std::exception& failure) {
        std::cerr << "playback_callbacks: " << failure.what() << '\n';
        return 2;
    }
}
