// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/SamplePicking.h"

#include <algorithm>

#include "sonrel/base/Numbers.h"

namespace orlo::sonrel::detail {

int PickFrames(const short* source, int frameCount, int speed, short* target) {
    const int written = frameCount / speed;
    if (written < 1) return 0;
    const double step = static_cast<double>(frameCount) / static_cast<double>(written);
    const long long lastValue = 2LL * frameCount - 2;
    for (long long i = 0; i < 2LL * written; i += 2) {
        long long j = zrtl::TruncToInt64(static_cast<double>(i) * step);
        // The step counts values: an odd index is the right side of the frame that begins before
        // it.
        if (j % 2 != 0) --j;
        j = std::min(j, lastValue);
        target[i] = source[j];
        target[i + 1] = source[j + 1];
    }
    return written;
}

void ReverseFrames(short* samples, int frameCount) {
    for (long long first = 0, last = frameCount - 1LL; first < last; ++first, --last) {
        std::swap(samples[2 * first], samples[2 * last]);
        std::swap(samples[2 * first + 1], samples[2 * last + 1]);
    }
}

}  // namespace orlo::sonrel::detail
