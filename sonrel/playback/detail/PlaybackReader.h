// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/playback/detail/FrameAudioBuffer.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"

namespace orlo::sonrel::detail {

/// Fills a buffer from the read position, in the direction and at the speed of the run, and moves
/// the position.
///
/// When the mix delivers fewer samples than asked for, the buffer keeps what it held and the result
/// is 0. Forward the position then stands, so that the next read asks again; in reverse it has
/// moved. There is no way to tell the host of it while it plays.
/// @return samples placed at the front of the buffer; what lies behind them is untouched
int ReadPlaybackSamples(PlaybackEngineImpl& engine, FrameAudioBuffer& buffer);

/// Whether the read position has come to where the run ends.
bool EndIsReached(const PlaybackEngineImpl& engine);

}  // namespace orlo::sonrel::detail
