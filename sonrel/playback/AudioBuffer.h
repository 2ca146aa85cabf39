// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/base/Export.h"

namespace orlo::sonrel {

/// The stereo frames that the sound device takes at a time: the smallest power of two that lasts at
/// least as long as the buffer, and at most 32768.
/// @param sampleRate    hertz
/// @param milliseconds  length of the buffer, as for SetAudioBufferMilliseconds
///
/// Threads: any.
SONREL_EXPORT int AudioBufferFrames(int sampleRate, int milliseconds);

}  // namespace orlo::sonrel
