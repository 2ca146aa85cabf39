// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/project.h"

namespace orlo::sonrel {
struct AudioMixerImpl;
}

namespace orlo::sonrel::detail {

/// Mixes one block of a sequence: its tracks, the master level, the meters, the conversion.
///
/// Objects are picked by the block's one video frame, so a block never looks at frame edges within
/// itself: an object that begins inside a block sounds from the next block on, and one that ends
/// inside sounds to the block's end.
/// @param start      first sample
/// @param count      samples, at most one video frame's worth
/// @param output     receives 2 * count values
/// @param frameRate  of the request: an effect may change that of the settings meanwhile
/// @return @p count, or -3 when it is above one video frame's worth
int MixSequenceBlock(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                     const std::shared_ptr<project::EditorSequence>& sequence, long long start,
                     int count, short* output, int rate, double frameRate);

/// Mixes a request of any length up to 60 seconds, in blocks of one video frame's worth.
/// Arguments and results are those of the mixer's public form.
int GetSequenceSamples(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                       const std::shared_ptr<project::EditorSequence>& sequence, long long start,
                       int count, unsigned char* buffer, int rateOverride, int sampleRate);

}  // namespace orlo::sonrel::detail
