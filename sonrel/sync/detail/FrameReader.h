// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

namespace orlo::project {
class MediaAsset;
}

namespace orlo::sonrel {
class AudioMixer;
}

namespace orlo::sonrel::detail {

/// Interleaved stereo samples, left first. Grows and never shrinks.
using FrameBuffer = std::vector<short>;

/// Reads conformed sample frames of an asset.
/// @param frames  grown to the count
/// @return frames delivered, possibly fewer than @p count; 0 or less where there are none
int ReadFrames(const AudioMixer& mixer, const std::shared_ptr<project::MediaAsset>& asset,
               long long start, int count, FrameBuffer& frames);

}  // namespace orlo::sonrel::detail
