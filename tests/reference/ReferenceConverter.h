// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>

#include "sonrel/base/Numbers.h"
#include "sonrel/mixer/SampleConverter.h"

namespace orlo::sonrel::reference {

/// The reference of the sample conversion: the documented rules, one frame after the other.
class SampleConverter {
public:
    SampleConverter(DitherType type, unsigned int seed) : type_(type), engine_(seed) {}

    void FloatToInt16(const float* input, short* output, int frameCount) {
        for (std::ptrdiff_t i = 0; i < frameCount; ++i) {
            float left = input[2 * i] * 32768.0f;
            float right = input[2 * i + 1] * 32768.0f;
            if (type_ == DitherType::None) {
            } else if (type_ == DitherType::Triangular) {
                const float a = Uniform();
                const float b = Uniform();
                const float n = a + b;
                left = left + n;
                right = right + n;
            } else if (type_ == DitherType::HighPassTriangular) {
                const float n = Uniform();
                left = (n + left) - previousNoise_;
                right = (n + right) - previousNoise_;
                previousNoise_ = n;
            } else {
                left = 0.0f;
                right = 0.0f;
            }
            output[2 * i] = Quantise(left);
            output[2 * i + 1] = Quantise(right);
        }
    }

    /// Rounding decides about clipping; the stored value is truncated.
    static short Quantise(float x) {
        const double wide = x;
        const double r = wide > 0.0 ? std::floor(wide + 0.5) : std::ceil(wide - 0.5);
        const std::int32_t rounded = zrtl::TruncToInt32(r);
        if (rounded > 32767) return 32767;
        if (rounded < -32768) return -32768;
        return static_cast<short>(zrtl::TruncToInt32(wide));
    }

private:
    float Uniform() {
        const float u = static_cast<float>(static_cast<std::uint32_t>(engine_()));
        const float c = u / 4294967296.0f;
        return (high_ - low_) * c + low_;
    }

    DitherType type_;
    std::mt19937 engine_;
    float low_ = -0.5f;
    float high_ = 0.5f;
    float previousNoise_ = 0.0f;
};

}  // namespace orlo::sonrel::reference
