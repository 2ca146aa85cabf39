// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/base/FrameRange.h"

namespace orlo::project {
class MediaAsset;
}

namespace orlo::sonrel {

class AudioMixer;

/// Reads sample frames of an asset as interleaved floats, full scale 1.0.
/// @param range  at most 2^31 - 1 frames
/// @return the frames delivered, possibly fewer than in the range
std::vector<float> ReadStereo(const AudioMixer& mixer,
                              const std::shared_ptr<project::MediaAsset>& asset,
                              const zrtl::FrameRange& range);

/// Whether left and right of interleaved values are the same signal, as in a mono recording.
bool IsMono(const std::vector<float>& interleaved);

}  // namespace orlo::sonrel
