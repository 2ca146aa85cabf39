// SPDX-License-Identifier: MIT
#include "sonrel/playback/AudioBuffer.h"

#include "sonrel/playback/device/AudioDevice.h"
#include "sonrel/playback/device/SdlOutput.h"

namespace orlo::sonrel {

int AudioBufferFrames(int sampleRate, int milliseconds) {
    return device::SdlPeriod(sampleRate,
                             milliseconds == 0 ? device::DEFAULT_BUFFER_MS : milliseconds);
}

}  // namespace orlo::sonrel
