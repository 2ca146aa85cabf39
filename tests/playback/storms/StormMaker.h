// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>

#include "sonrel/playback/detail/DeviceFactory.h"
#include "tests/playback/storms/StormDevice.h"

namespace sonrel_tests {

/// While it lives, playback engines are made on a storm's device. One at a time in the process.
class StormMaker {
public:
    explicit StormMaker(StormDevice& device) : guard_(mutex) {
        orlo::sonrel::SetAudioDeviceMaker([&device] { return device.MakeEngine(); });
    }
    ~StormMaker() { orlo::sonrel::SetAudioDeviceMaker({}); }
    StormMaker(const StormMaker&) = delete;
    StormMaker& operator=(const StormMaker&) = delete;

private:
    static inline std::mutex mutex;
    const std::lock_guard<std::mutex> guard_;
};

}  // namespace sonrel_tests
