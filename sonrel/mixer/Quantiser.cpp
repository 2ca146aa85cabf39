// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/Quantiser.h"

#include <algorithm>
#include <cstdint>

#include "sonrel/base/Numbers.h"
#include "sonrel/cpu/Kernels.h"

namespace orlo::sonrel::detail {
namespace {

constexpr float STEPS = 32768.0f;

short Quantise(float steps) {
    const std::int32_t cut = zrtl::TruncToInt32(static_cast<double>(steps));
    return static_cast<short>(std::clamp(cut, -32768, 32767));
}

// Frames to quantise.
struct Span {
    const float* input;  // 2 * frames
    short* output;       // 2 * frames
    int frames;
};

template <NoiseForm FORM>
void QuantiseOneByOne(const Span& span, const float* noise, float before, int from) {
    for (int i = from; i < span.frames; ++i) {
        for (int value = 2 * i; value < 2 * i + 2; ++value) {
            float steps = span.input[value] * STEPS;
            if constexpr (FORM == NoiseForm::Added) steps = steps + noise[i];
            if constexpr (FORM == NoiseForm::Differenced) steps = (noise[i] + steps) - before;
            span.output[value] = Quantise(steps);
        }
        if constexpr (FORM == NoiseForm::Differenced) before = noise[i];
    }
}

#if SONREL_X86

// The vector forms convert whole vectors and return the number of frames that they converted. They
// are written with instructions instead of compiler vectors: the conversion of values that do not
// fit and the packing with saturation exist as instructions only.
//
// The noise before each frame comes from a register and not from noise - 1: such a load would
// overlap two stores that were just made, and wait for both.

template <NoiseForm FORM>
SONREL_ALWAYS_INLINE __m128i CutFour(const float* input, __m128 noise, __m128 before) {
    __m128 steps = _mm_mul_ps(_mm_loadu_ps(input), _mm_set1_ps(STEPS));
    if constexpr (FORM == NoiseForm::Added) steps = _mm_add_ps(steps, noise);
    if constexpr (FORM == NoiseForm::Differenced) {
        steps = _mm_sub_ps(_mm_add_ps(noise, steps), before);
    }
    return _mm_cvttps_epi32(steps);
}

template <NoiseForm FORM>
int QuantiseVectorsBaseline(Span span, const float* noise, float before) {
    int i = 0;
    __m128 turnedBefore = _mm_set1_ps(before);
    for (; i + 4 <= span.frames; i += 4) {
        __m128 n = _mm_setzero_ps();
        __m128 b = _mm_setzero_ps();
        if constexpr (FORM != NoiseForm::None) n = _mm_loadu_ps(noise + i);
        if constexpr (FORM == NoiseForm::Differenced) {
            const __m128 turned = _mm_shuffle_ps(n, n, _MM_SHUFFLE(2, 1, 0, 3));
            b = _mm_move_ss(turned, turnedBefore);
            turnedBefore = turned;
        }
        const float* input = span.input + 2 * i;
        const __m128i low = CutFour<FORM>(input, _mm_unpacklo_ps(n, n), _mm_unpacklo_ps(b, b));
        const __m128i high = CutFour<FORM>(input + 4, _mm_unpackhi_ps(n, n), _mm_unpackhi_ps(b, b));
        Store(span.output + 2 * i, _mm_packs_epi32(low, high));
    }
    return i;
}

template <NoiseForm FORM>
SONREL_TARGET_AVX2 inline __m256i CutEight(__m256 steps, __m256 noise, __m256 before) {
    steps = _mm256_mul_ps(steps, _mm256_set1_ps(STEPS));
    if constexpr (FORM == NoiseForm::Added) steps = _mm256_add_ps(steps, noise);
    if constexpr (FORM == NoiseForm::Differenced) {
        steps = _mm256_sub_ps(_mm256_add_ps(noise, steps), before);
    }
    return _mm256_cvttps_epi32(steps);
}

// Both the doubling of the noise and the packing work within the halves of a register: frames 0, 1,
// 4 and 5 go together, and 2, 3, 6 and 7.
template <NoiseForm FORM>
SONREL_TARGET_AVX2 int QuantiseVectorsAvx2(Span span, const float* noise, float before) {
    const AvxScope scope;
    const __m256i turn = _mm256_setr_epi32(7, 0, 1, 2, 3, 4, 5, 6);
    int i = 0;
    __m256 turnedBefore = _mm256_set1_ps(before);
    for (; i + 8 <= span.frames; i += 8) {
        __m256 n = _mm256_setzero_ps();
        __m256 b = _mm256_setzero_ps();
        if constexpr (FORM != NoiseForm::None) n = _mm256_loadu_ps(noise + i);
        if constexpr (FORM == NoiseForm::Differenced) {
            const __m256 turned = _mm256_permutevar8x32_ps(n, turn);
            b = _mm256_blend_ps(turned, turnedBefore, 1);
            turnedBefore = turned;
        }
        const __m256 first = _mm256_loadu_ps(span.input + 2 * i);
        const __m256 second = _mm256_loadu_ps(span.input + 2 * i + 8);
        const __m256i low = CutEight<FORM>(_mm256_permute2f128_ps(first, second, 0x20),
                                           _mm256_unpacklo_ps(n, n), _mm256_unpacklo_ps(b, b));
        const __m256i high = CutEight<FORM>(_mm256_permute2f128_ps(first, second, 0x31),
                                            _mm256_unpackhi_ps(n, n), _mm256_unpackhi_ps(b, b));
        Store(span.output + 2 * i, _mm256_packs_epi32(low, high));
    }
    return i;
}

template <NoiseForm FORM>
constexpr PerCpuPath<int (*)(Span span, const float* noise, float before)> QUANTISE_VECTORS = {
    QuantiseVectorsBaseline<FORM>, QuantiseVectorsAvx2<FORM>, QuantiseVectorsAvx2<FORM>};

#endif

template <NoiseForm FORM>
void QuantiseSpan(const Span& span, const float* noise, float before) {
    int done = 0;
#if SONREL_X86
    done = QUANTISE_VECTORS<FORM>.Active()(span, noise, before);
#endif
    if constexpr (FORM == NoiseForm::Differenced) {
        if (done > 0) before = noise[done - 1];
    }
    QuantiseOneByOne<FORM>(span, noise, before, done);
}

}  // namespace

void QuantiseFrames(const float* input, const FrameNoise& noise, short* output, int frames) {
    const Span span{input, output, frames};
    switch (noise.form) {
        case NoiseForm::None:
            QuantiseSpan<NoiseForm::None>(span, noise.values, noise.before);
            return;
        case NoiseForm::Added:
            QuantiseSpan<NoiseForm::Added>(span, noise.values, noise.before);
            return;
        case NoiseForm::Differenced:
            QuantiseSpan<NoiseForm::Differenced>(span, noise.values, noise.before);
            return;
    }
}

}  // namespace orlo::sonrel::detail
