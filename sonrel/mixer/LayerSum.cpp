// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/LayerSum.h"

#include <utility>

#include "sonrel/mixer/SampleConverter.h"
#include "sonrel/mixer/detail/GainLaw.h"
#include "sonrel/mixer/detail/MixKernels.h"
#include "sonrel/mixer/detail/SampleConverterAccess.h"

namespace orlo::sonrel::detail {

void LayerSum::Add(const short* samples, int count, const BlockLevels& levels) {
    const bool isWhole = count == frames_ && levels.start == levels.end;
    if (isWhole && !floats_ && single_.samples == nullptr) {
        single_ = {samples, GainOfLevel(levels.start)};
    } else {
        MixObjectIntoBlock(samples, count, Values(), levels.start, levels.end, 0.0f);
    }
}

float* LayerSum::Values() {
    if (!floats_) floats_ = pool_.Zeroed(taken_, frames_);
    const ScaledFrames single = std::exchange(single_, {});
    if (single.samples != nullptr) {
        AddWithGain({single.samples, frames_, floats_.get()}, single.gain, {});
    }
    return floats_.get();
}

void LayerSum::Convert(SampleConverter& converter, short* output) {
    if (single_.samples != nullptr) {
        SampleConverterAccess::Convert(converter, single_, output, frames_);
    } else {
        converter.FloatToInt16(Values(), output, frames_);
    }
}

}  // namespace orlo::sonrel::detail
