// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/playback/PlaybackEngine.h"

namespace orlo::sonrel::detail {

/// How many buffers the ring has.
constexpr int FRAME_BUFFER_COUNT = 50;

/// Builds voices and buffers for the rates in the record. A run that plays ends.
PlaybackEngine::Err ConfigureDevice(PlaybackEngineImpl& engine);

/// Stops the voice and ends the worker: the only way to do so.
/// @return NotInitialized without a source voice
PlaybackEngine::Err StopVoiceAndWorker(PlaybackEngineImpl& engine);

}  // namespace orlo::sonrel::detail
