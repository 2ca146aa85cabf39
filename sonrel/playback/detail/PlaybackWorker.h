// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/playback/PlaybackEngine.h"

namespace orlo::sonrel::detail {

/// What the worker thread of a run does: keeps the voice fed with buffers of the ring until the
/// range has been played, or until it is told to stop. Catches nothing: an exception of the mix, or
/// a device that refuses the thread, ends the process.
void PlaybackThreadEntry(PlaybackEngineImpl& engine);

}  // namespace orlo::sonrel::detail
