// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/DitherGenerator.h"

#include <algorithm>

#include "sonrel/cpu/CpuPath.h"
#include "sonrel/cpu/VectorLanes.h"

namespace orlo::sonrel::detail {
namespace {

constexpr int DEGREE = 624;
constexpr int MIDDLE = 397;
constexpr std::uint32_t MATRIX = 0x9908b0df;
constexpr std::uint32_t UPPER_BIT = 0x80000000;
constexpr std::uint32_t LOWER_BITS = 0x7fffffff;

// One new word of the state, or a vector of them, from the word itself, the one after it and the
// one MIDDLE further on.
template <typename Word>
SONREL_ALWAYS_INLINE void Twist(Word& word, const Word& following, const Word& further) {
    const Word joined = (word & UPPER_BIT) | (following & LOWER_BITS);
    word = further ^ (joined >> 1) ^ ((0u - (joined & 1u)) & MATRIX);
}

// Words @p from to @p to, none of which needs a word that the same stretch makes less than a
// vector before.
template <typename Lanes>
SONREL_ALWAYS_INLINE void TwistStretch(std::uint32_t* state, int from, int to, int further) {
    int i = from;
    for (; i + Lanes::COUNT <= to; i += Lanes::COUNT) {
        typename Lanes::Words word, following, furtherWords;
        Load(word, state + i);
        Load(following, state + i + 1);
        Load(furtherWords, state + i + further);
        Twist(word, following, furtherWords);
        Store(state + i, word);
    }
    for (; i < to; ++i) Twist(state[i], state[i + 1], state[i + further]);
}

template <typename Lanes>
SONREL_ALWAYS_INLINE void RenewState(std::uint32_t* state) {
    TwistStretch<Lanes>(state, 0, DEGREE - MIDDLE, MIDDLE);
    TwistStretch<Lanes>(state, DEGREE - MIDDLE, DEGREE - 1, MIDDLE - DEGREE);
    Twist(state[DEGREE - 1], state[0], state[MIDDLE - 1]);
}

template <typename Word>
SONREL_ALWAYS_INLINE void Temper(Word& word) {
    word ^= word >> 11;
    word ^= (word << 7) & 0x9d2c5680u;
    word ^= (word << 15) & 0xefc60000u;
    word ^= word >> 18;
}

float UniformValue(std::uint32_t draw) {
    return static_cast<float>(draw) / 4294967296.0f - 0.5f;
}

// The vector form converts a draw as high half + low half. Both are exact, so that their sum rounds
// once, as the conversion of the whole does.
template <typename Lanes>
SONREL_ALWAYS_INLINE void ToUniformValues(const std::uint32_t* state, float* values, int count) {
    using Floats = typename Lanes::Floats;
    using Ints = typename Lanes::Ints;
    int i = 0;
    for (; i + Lanes::COUNT <= count; i += Lanes::COUNT) {
        typename Lanes::Words word;
        Load(word, state + i);
        Temper(word);
        const Floats high = __builtin_convertvector(reinterpret_cast<Ints>(word >> 16), Floats);
        const Floats low = __builtin_convertvector(reinterpret_cast<Ints>(word & 0xffffu), Floats);
        Store(values + i, (high * 0x1p-16f + low * 0x1p-32f) - 0.5f);
    }
    for (; i < count; ++i) {
        std::uint32_t word = state[i];
        Temper(word);
        values[i] = UniformValue(word);
    }
}

void RenewStateBaseline(std::uint32_t* state) {
    RenewState<NarrowLanes>(state);
}
void ToUniformValuesBaseline(const std::uint32_t* state, float* values, int count) {
    ToUniformValues<NarrowLanes>(state, values, count);
}

#if SONREL_X86
SONREL_TARGET_AVX2 void RenewStateAvx2(std::uint32_t* state) {
    RenewState<WideLanes>(state);
    SONREL_LEAVE_AVX();
}
SONREL_TARGET_AVX2 void ToUniformValuesAvx2(const std::uint32_t* state, float* values, int count) {
    ToUniformValues<WideLanes>(state, values, count);
    SONREL_LEAVE_AVX();
}
#endif

struct Kernels {
    void (*renewState)(std::uint32_t* state);
    void (*toUniformValues)(const std::uint32_t* state, float* values, int count);
};

Kernels ActiveKernels() {
#if SONREL_X86
    if (ActiveCpuPath() >= CpuPath::Avx2) return {RenewStateAvx2, ToUniformValuesAvx2};
#endif
    return {RenewStateBaseline, ToUniformValuesBaseline};
}

}  // namespace

void DitherGenerator::Seed(std::uint32_t seed) {
    static_assert(STATE_WORDS == DEGREE);
    state_[0] = seed;
    for (std::uint32_t i = 1; i < DEGREE; ++i) {
        state_[i] = 1812433253u * (state_[i - 1] ^ (state_[i - 1] >> 30)) + i;
    }
    next_ = DEGREE;
}

void DitherGenerator::Draw(float* values, int count) {
    const Kernels kernels = ActiveKernels();
    while (count > 0) {
        if (next_ == DEGREE) {
            kernels.renewState(state_);
            next_ = 0;
        }
        const int drawn = std::min(count, DEGREE - next_);
        kernels.toUniformValues(state_ + next_, values, drawn);
        next_ += drawn;
        values += drawn;
        count -= drawn;
    }
}

}  // namespace orlo::sonrel::detail
