// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel {

class SampleConverter;

namespace detail {

struct ScaledFrames;

/// The operations on a converter that only the mixer may use.
struct SampleConverterAccess {
    /// As SampleConverter::FloatToInt16 with the values of samples at a constant gain.
    static void Convert(SampleConverter& converter, const ScaledFrames& input, short* output,
                        int frameCount);
};

}  // namespace detail
}  // namespace orlo::sonrel
