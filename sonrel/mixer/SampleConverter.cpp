// SPDX-License-Identifier: MIT
#include "sonrel/mixer/SampleConverter.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <random>

#include "sonrel/contracts/zrtl/Numbers.h"

namespace orlo::sonrel {

struct SampleConverterImpl {
    DitherType type = DitherType::None;
    std::mt19937 engine;
    float low = -0.5f;
    float high = 0.5f;
    float previousNoise = 0.0f;
};

namespace {

unsigned int SeedFromClock() {
    return static_cast<unsigned int>(std::chrono::steady_clock::now().time_since_epoch().count());
}

float Uniform(SampleConverterImpl& impl) {
    const auto draw = static_cast<float>(static_cast<std::uint32_t>(impl.engine()));
    return (impl.high - impl.low) * (draw / 4294967296.0f) + impl.low;
}

short Quantise(float steps) {
    const std::int32_t cut = zrtl::TruncToInt32(static_cast<double>(steps));
    if (cut > 32767) return 32767;
    if (cut < -32768) return -32768;
    return static_cast<short>(cut);
}

}  // namespace

SampleConverter::SampleConverter(DitherType type, unsigned int seed)
    : impl_(std::make_unique<SampleConverterImpl>()) {
    Reset(type, seed);
}

SampleConverter::~SampleConverter() = default;

void SampleConverter::Reset(DitherType type, unsigned int seed) {
    impl_->type = type;
    impl_->engine.seed(seed == 0 ? SeedFromClock() : seed);
    impl_->previousNoise = 0.0f;
}

void SampleConverter::FloatToInt16(const float* input, short* output, int frameCount) {
    for (std::ptrdiff_t i = 0; i < frameCount; ++i) {
        float left = input[2 * i] * 32768.0f;
        float right = input[2 * i + 1] * 32768.0f;
        switch (impl_->type) {
            case DitherType::None:
                break;
            case DitherType::Triangular: {
                const float first = Uniform(*impl_);
                const float noise = first + Uniform(*impl_);
                left += noise;
                right += noise;
                break;
            }
            case DitherType::HighPassTriangular: {
                const float noise = Uniform(*impl_);
                left = (noise + left) - impl_->previousNoise;
                right = (noise + right) - impl_->previousNoise;
                impl_->previousNoise = noise;
                break;
            }
            default:
                left = 0.0f;
                right = 0.0f;
        }
        output[2 * i] = Quantise(left);
        output[2 * i + 1] = Quantise(right);
    }
}

}  // namespace orlo::sonrel
