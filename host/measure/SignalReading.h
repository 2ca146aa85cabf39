// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>

#include "host/media/ReadCheck.h"
#include "host/shell/Progress.h"
#include "host/timeline/Positions.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::host {

/// Fills a buffer with the samples from a position.
/// @return count, or the error code of the mixer
using ReadSamples = std::function<int(long long position, int count, unsigned char* buffer)>;

/// Receives the stereo frames of a signal in order.
/// @param frames  2 * count values, left first
using TakeSamples = std::function<void(const short* frames, std::size_t count)>;

/// A range of a timeline, a nested item or a media file.
struct MeasuredSignal {
    const ReadCheck& reads;
    FrameGrid grid;
    zrtl::FrameRange span;  ///< samples
    ReadSamples read;
};

/// Starts the noise of a mix as the mix command does without options.
void BeginMix(sonrel::AudioMixer& mixer);

/// Reads a signal in the blocks of a mix, one frame of the engine each, so that its samples are
/// those of the mix.
/// @throws JobError when a media file cannot be read; CommandError when the program is asked to
///         stop
void ReadSignal(const MeasuredSignal& signal, const TakeSamples& take, Progress& progress);

}  // namespace orlo::host
