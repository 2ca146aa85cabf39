// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/GainRamp.h"

#include <cstddef>
#include <cstring>

#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {

void ApplyGain(unsigned char* to, const unsigned char* from, long long frames, const GainRamp& gain,
               long long inside) {
    if (gain.first == 1.0 && gain.step == 0.0) {
        std::memmove(to, from, static_cast<std::size_t>(frames) * FRAME_BYTES);
        return;
    }
    for (long long i = 0; i < frames; ++i) {
        // Computed from the start of the cell: a block that begins inside it has the same gains.
        const double factor = gain.first + static_cast<double>(inside + i) * gain.step;
        WriteFrame(to, i, ReadFrame(from, i) * factor);
    }
}

}  // namespace orlo::sonrel::detail
