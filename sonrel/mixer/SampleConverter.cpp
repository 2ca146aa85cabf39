// SPDX-License-Identifier: MIT
#include "sonrel/mixer/SampleConverter.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>

#include "sonrel/mixer/detail/DitherGenerator.h"
#include "sonrel/mixer/detail/Quantiser.h"
#include "sonrel/mixer/detail/SampleConverterAccess.h"

namespace orlo::sonrel {

struct SampleConverterImpl {
    DitherType type = DitherType::None;
    detail::DitherGenerator generator{1};
    float previousNoise = 0.0f;
};

namespace {

using detail::NoiseForm;

// Frames that are converted together: one state of the generator, so that draws are whole vectors.
constexpr int CHUNK_FRAMES = 624;

std::uint32_t SeedFromClock() {
    const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
    return static_cast<std::uint32_t>(ticks);
}

// Two draws per frame, and their sum.
template <class Input>
void ConvertTriangular(SampleConverterImpl& impl, const Input& input, short* output, int frames) {
    alignas(32) float draws[2 * CHUNK_FRAMES];
    impl.generator.Draw(draws, 2 * frames);
    alignas(32) float noise[CHUNK_FRAMES];
    for (int i = 0; i < frames; ++i) noise[i] = draws[2 * i] + draws[2 * i + 1];
    detail::QuantiseFrames(input, {NoiseForm::Added, noise}, output, frames);
}

// One draw per frame, minus the draw before.
template <class Input>
void ConvertHighPass(SampleConverterImpl& impl, const Input& input, short* output, int frames) {
    alignas(32) float noise[CHUNK_FRAMES];
    impl.generator.Draw(noise, frames);
    detail::QuantiseFrames(input, {NoiseForm::Differenced, noise, impl.previousNoise}, output,
                           frames);
    impl.previousNoise = noise[frames - 1];
}

template <class Input>
void ConvertChunk(SampleConverterImpl& impl, const Input& input, short* output, int frames) {
    switch (impl.type) {
        case DitherType::None:
            detail::QuantiseFrames(input, {NoiseForm::None}, output, frames);
            return;
        case DitherType::Triangular:
            ConvertTriangular(impl, input, output, frames);
            return;
        case DitherType::HighPassTriangular:
            ConvertHighPass(impl, input, output, frames);
            return;
    }
    std::fill(output, output + 2 * frames, short{0});  // a type other than the three
}

template <class Input>
void Convert(SampleConverterImpl& impl, const Input& input, short* output, int frameCount) {
    for (int first = 0; first < frameCount; first += CHUNK_FRAMES) {
        ConvertChunk(impl, input.From(first), output + 2 * static_cast<std::ptrdiff_t>(first),
                     std::min(frameCount - first, CHUNK_FRAMES));
    }
}

// The last draw is the previous noise of the next frame.
void SkipHighPass(SampleConverterImpl& impl, long long frames) {
    impl.generator.Skip(frames - 1);
    impl.generator.Draw(&impl.previousNoise, 1);
}

}  // namespace

SampleConverter::SampleConverter(DitherType type, unsigned int seed)
    : impl_(std::make_unique<SampleConverterImpl>()) {
    Reset(type, seed);
}

SampleConverter::~SampleConverter() = default;

void SampleConverter::Reset(DitherType type, unsigned int seed) {
    impl_->type = type;
    impl_->generator.Seed(seed == 0 ? SeedFromClock() : seed);
    impl_->previousNoise = 0.0f;
}

void SampleConverter::FloatToInt16(const float* input, short* output, int frameCount) {
    Convert(*impl_, detail::FloatFrames{input}, output, frameCount);
}

void SampleConverter::Skip(long long frameCount) {
    if (frameCount < 1) return;
    if (impl_->type == DitherType::Triangular) impl_->generator.Skip(2 * frameCount);
    if (impl_->type == DitherType::HighPassTriangular) SkipHighPass(*impl_, frameCount);
}

void SampleConverter::Continue(const SampleConverter& other) {
    *impl_ = *other.impl_;
}

void detail::SampleConverterAccess::Convert(SampleConverter& converter, const ScaledFrames& input,
                                            short* output, int frameCount) {
    sonrel::Convert(*converter.impl_, input, output, frameCount);
}

}  // namespace orlo::sonrel
