// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/FrameReader.h"

#include <algorithm>
#include <limits>

#include "sonrel/base/StereoFrame.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/MediaAsset.h"

namespace orlo::sonrel::detail {

int ReadFrames(const AudioMixer& mixer, const std::shared_ptr<project::MediaAsset>& asset,
               long long start, int count, FrameBuffer& frames) {
    if (count > std::numeric_limits<int>::max() / zrtl::FRAME_BYTES) return 0;
    frames.resize(std::max(frames.size(), 2 * static_cast<std::size_t>(std::max(0, count))));
    return mixer.GetSamples(asset, start, count, reinterpret_cast<unsigned char*>(frames.data()),
                            count * zrtl::FRAME_BYTES);
}

}  // namespace orlo::sonrel::detail
