// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/Resampler.h"

#include "sonrel/mixer/detail/ResamplerFormula.h"

namespace orlo::sonrel::detail {

struct ResamplerImpl {};

Resampler::Resampler() : impl_(std::make_unique<ResamplerImpl>()) {}
Resampler::~Resampler() = default;

void Resampler::ResampleStereo(int rate, double speed, const short* source, int sourceOffset,
                               int sourceCount, short* output, int outputCount) {
    const double cutoff = ResamplerCutoff(rate);
    for (int i = 0; i < outputCount; ++i) {
        ResampleFrame(cutoff, FramePosition(i, speed, sourceOffset), source, sourceCount,
                      output + 2 * static_cast<std::ptrdiff_t>(i));
    }
}

}  // namespace orlo::sonrel::detail
