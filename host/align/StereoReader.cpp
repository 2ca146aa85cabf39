// SPDX-License-Identifier: MIT
#include "host/align/StereoReader.h"

#include <algorithm>

namespace orlo::host {

std::vector<float> StereoReader::Read(const FrameRange& place, std::size_t frames) const {
    std::vector<short> samples(2 * static_cast<std::size_t>(place.length));
    const int read = mixer_.GetSamples(
        recording_.asset, place.start, static_cast<int>(place.length),
        reinterpret_cast<unsigned char*>(samples.data()), static_cast<int>(4 * place.length));
    std::vector<float> values(2 * frames, 0.0f);
    for (std::size_t i = 0; i < 2 * static_cast<std::size_t>(std::max(0, read)); ++i) {
        values[i] = static_cast<float>(samples[i]) / 32768.0f;
    }
    return values;
}

bool ChannelsAreEqual(const std::vector<float>& interleaved) {
    for (std::size_t i = 0; i < interleaved.size(); i += 2) {
        if (interleaved[i] != interleaved[i + 1]) return false;
    }
    return true;
}

}  // namespace orlo::host
