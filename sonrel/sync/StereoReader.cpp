// SPDX-License-Identifier: MIT
#include "sonrel/sync/StereoReader.h"

#include <algorithm>

#include "sonrel/sync/detail/Correlation.h"
#include "sonrel/sync/detail/FrameReader.h"

namespace orlo::sonrel {

std::vector<float> ReadStereo(const AudioMixer& mixer,
                              const std::shared_ptr<project::MediaAsset>& asset,
                              const zrtl::FrameRange& range) {
    detail::FrameBuffer frames;
    const int read =
        detail::ReadFrames(mixer, asset, range.start, static_cast<int>(range.Count()), frames);
    std::vector<float> samples(2 * static_cast<std::size_t>(std::max(0, read)));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<float>(frames[i]) * detail::SAMPLE_SCALE;
    }
    return samples;
}

bool IsMono(const std::vector<float>& interleaved) {
    for (std::size_t i = 0; i < interleaved.size(); i += 2) {
        if (interleaved[i] != interleaved[i + 1]) return false;
    }
    return true;
}

}  // namespace orlo::sonrel
