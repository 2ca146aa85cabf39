// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/Quantiser.h"

#include <algorithm>
#include <cstdint>

#include "sonrel/base/Numbers.h"
#include "sonrel/cpu/Kernels.h"

namespace orlo::sonrel::detail {
namespace {

constexpr float STEPS = 32768.0f;

#if SONREL_X86
// All lanes. GCC 12 warns of undefined operands inside the instructions of AVX-512 without a mask.
constexpr __mmask16 ALL = 0xffff;
#endif

short Quantise(float steps) {
    const std::int32_t cut = zrtl::TruncToInt32(static_cast<double>(steps));
    return static_cast<short>(std::clamp(cut, -32768, 32767));
}

// The input as single values and as vectors, from a value on.
struct FloatValues {
    const float* values;

    float One(int i) const { return values[i]; }
#if SONREL_X86
    __m128 Four(int i) const {
        return _mm_loadu_ps(values + i);
    }
    SONREL_TARGET_AVX2 __m256 Eight(int i) const {
        return _mm256_loadu_ps(values + i);
    }
    SONREL_TARGET_AVX512 __m512 Sixteen(int i) const {
        return _mm512_loadu_ps(values + i);
    }
#endif
};

struct ScaledSamples {
    const short* samples;
    float gain;

    float One(int i) const { return samples[i] * gain; }
#if SONREL_X86
    __m128 Four(int i) const {
        const __m128i packed = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(samples + i));
        const __m128i wide = _mm_srai_epi32(_mm_unpacklo_epi16(packed, packed), 16);
        return _mm_mul_ps(_mm_cvtepi32_ps(wide), _mm_set1_ps(gain));
    }
    SONREL_TARGET_AVX2 __m256 Eight(int i) const {
        const __m128i packed = _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples + i));
        return _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(packed)),
                             _mm256_set1_ps(gain));
    }
    SONREL_TARGET_AVX512 __m512 Sixteen(int i) const {
        const __m256i packed = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples + i));
        const __m512i wide = _mm512_maskz_cvtepi16_epi32(ALL, packed);
        return _mm512_mul_ps(_mm512_maskz_cvtepi32_ps(ALL, wide), _mm512_set1_ps(gain));
    }
#endif
};

// Frames to quantise.
template <class Input>
struct Span {
    Input input;    // 2 * frames
    short* output;  // 2 * frames
    int frames;
};

template <NoiseForm FORM, class Input>
void QuantiseOneByOne(const Span<Input>& span, const float* noise, float before, int from) {
    for (int i = from; i < span.frames; ++i) {
        for (int value = 2 * i; value < 2 * i + 2; ++value) {
            float steps = span.input.One(value) * STEPS;
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
SONREL_ALWAYS_INLINE __m128i CutFour(__m128 steps, __m128 noise, __m128 before) {
    steps = _mm_mul_ps(steps, _mm_set1_ps(STEPS));
    if constexpr (FORM == NoiseForm::Added) steps = _mm_add_ps(steps, noise);
    if constexpr (FORM == NoiseForm::Differenced) {
        steps = _mm_sub_ps(_mm_add_ps(noise, steps), before);
    }
    return _mm_cvttps_epi32(steps);
}

template <NoiseForm FORM, class Input>
int QuantiseVectorsBaseline(Span<Input> span, const float* noise, float before) {
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
        const __m128i low =
            CutFour<FORM>(span.input.Four(2 * i), _mm_unpacklo_ps(n, n), _mm_unpacklo_ps(b, b));
        const __m128i high =
            CutFour<FORM>(span.input.Four(2 * i + 4), _mm_unpackhi_ps(n, n), _mm_unpackhi_ps(b, b));
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
template <NoiseForm FORM, class Input>
SONREL_TARGET_AVX2 int QuantiseVectorsAvx2(Span<Input> span, const float* noise, float before) {
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
        const __m256 first = span.input.Eight(2 * i);
        const __m256 second = span.input.Eight(2 * i + 8);
        const __m256i low = CutEight<FORM>(_mm256_permute2f128_ps(first, second, 0x20),
                                           _mm256_unpacklo_ps(n, n), _mm256_unpacklo_ps(b, b));
        const __m256i high = CutEight<FORM>(_mm256_permute2f128_ps(first, second, 0x31),
                                            _mm256_unpackhi_ps(n, n), _mm256_unpackhi_ps(b, b));
        Store(span.output + 2 * i, _mm256_packs_epi32(low, high));
    }
    return i;
}

// Eight frames. The product by 32768 is exact, so that the fused addition of the noise rounds like
// the two operations. The narrowing keeps the order of the values and limits them like the packing.
template <NoiseForm FORM>
SONREL_TARGET_AVX512 inline __m256i CutSixteen(__m512 steps, __m512i frames, __m512 noise,
                                               __m512 before) {
    const __m512 scale = _mm512_set1_ps(STEPS);
    if constexpr (FORM == NoiseForm::None) {
        steps = _mm512_mul_ps(steps, scale);
    } else {
        steps = _mm512_fmadd_ps(steps, scale, _mm512_maskz_permutexvar_ps(ALL, frames, noise));
    }
    if constexpr (FORM == NoiseForm::Differenced) {
        steps = _mm512_sub_ps(steps, _mm512_maskz_permutexvar_ps(ALL, frames, before));
    }
    return _mm512_maskz_cvtsepi32_epi16(ALL, _mm512_maskz_cvttps_epi32(ALL, steps));
}

template <NoiseForm FORM, class Input>
SONREL_TARGET_AVX512 int QuantiseVectorsAvx512(Span<Input> span, const float* noise, float before) {
    const AvxScope scope;
    const __m512i low = _mm512_setr_epi32(0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7);
    const __m512i high = _mm512_add_epi32(low, _mm512_set1_epi32(8));
    int i = 0;
    __m512i previous = _mm512_castps_si512(_mm512_set1_ps(before));
    for (; i + 16 <= span.frames; i += 16) {
        __m512 n = _mm512_setzero_ps();
        __m512 b = _mm512_setzero_ps();
        if constexpr (FORM != NoiseForm::None) n = _mm512_loadu_ps(noise + i);
        if constexpr (FORM == NoiseForm::Differenced) {
            const __m512i current = _mm512_castps_si512(n);
            b = _mm512_castsi512_ps(_mm512_maskz_alignr_epi32(ALL, current, previous, 15));
            previous = current;
        }
        Store(span.output + 2 * i, CutSixteen<FORM>(span.input.Sixteen(2 * i), low, n, b));
        Store(span.output + 2 * i + 16,
              CutSixteen<FORM>(span.input.Sixteen(2 * i + 16), high, n, b));
    }
    return i;
}

template <NoiseForm FORM, class Input>
constexpr PerCpuPath<int (*)(Span<Input> span, const float* noise, float before)> QUANTISE_VECTORS =
    {QuantiseVectorsBaseline<FORM, Input>, QuantiseVectorsAvx2<FORM, Input>,
     QuantiseVectorsAvx512<FORM, Input>};

#endif

template <NoiseForm FORM, class Input>
void QuantiseSpan(const Span<Input>& span, const float* noise, float before) {
    int done = 0;
#if SONREL_X86
    done = QUANTISE_VECTORS<FORM, Input>.Active()(span, noise, before);
#endif
    if constexpr (FORM == NoiseForm::Differenced) {
        if (done > 0) before = noise[done - 1];
    }
    QuantiseOneByOne<FORM>(span, noise, before, done);
}

template <class Input>
void QuantiseInput(const Span<Input>& span, const FrameNoise& noise) {
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

}  // namespace

void QuantiseFrames(const FloatFrames& input, const FrameNoise& noise, short* output, int frames) {
    QuantiseInput(Span<FloatValues>{{input.values}, output, frames}, noise);
}

void QuantiseFrames(const ScaledFrames& input, const FrameNoise& noise, short* output, int frames) {
    QuantiseInput(Span<ScaledSamples>{{input.samples, input.gain}, output, frames}, noise);
}

}  // namespace orlo::sonrel::detail
