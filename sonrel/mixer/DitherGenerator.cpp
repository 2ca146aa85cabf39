// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/DitherGenerator.h"

#include <algorithm>

#include "sonrel/cpu/Kernels.h"

namespace orlo::sonrel::detail {
namespace {

constexpr int DEGREE = 624;
constexpr int MIDDLE = 397;
constexpr std::uint32_t MATRIX = 0x9908b0df;
constexpr std::uint32_t UPPER_BIT = 0x80000000;
constexpr std::uint32_t LOWER_BITS = 0x7fffffff;

// One new word of the state, or a vector of them, from the word itself, the word after it and the
// word MIDDLE places further.
template <typename Word>
SONREL_ALWAYS_INLINE void Twist(Word& word, const Word& following, const Word& further) {
    const Word joined = (word & UPPER_BIT) | (following & LOWER_BITS);
    word = further ^ (joined >> 1) ^ ((0u - (joined & 1u)) & MATRIX);
}

// Renews the words from @p from to @p to. None of them needs a word that is renewed less than a
// vector before it.
template <typename L>
SONREL_ALWAYS_INLINE void TwistRange(std::uint32_t* state, int from, int to, int further) {
    int i = from;
    for (; i + L::COUNT <= to; i += L::COUNT) {
        typename L::Words word, following, furtherWords;
        Load(word, state + i);
        Load(following, state + i + 1);
        Load(furtherWords, state + i + further);
        Twist(word, following, furtherWords);
        Store(state + i, word);
    }
    for (; i < to; ++i) Twist(state[i], state[i + 1], state[i + further]);
}

struct RenewStateKernel {
    using Signature = void(std::uint32_t* state);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(std::uint32_t* state) {
        TwistRange<L>(state, 0, DEGREE - MIDDLE, MIDDLE);
        TwistRange<L>(state, DEGREE - MIDDLE, DEGREE - 1, MIDDLE - DEGREE);
        Twist(state[DEGREE - 1], state[0], state[MIDDLE - 1]);
    }
};

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
struct UniformValuesKernel {
    using Signature = void(const std::uint32_t* state, float* values, int count);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(const std::uint32_t* state, float* values, int count) {
        using Floats = typename L::Floats;
        using Ints = typename L::Ints;
        int i = 0;
        for (; i + L::COUNT <= count; i += L::COUNT) {
            typename L::Words word;
            Load(word, state + i);
            Temper(word);
            const Floats high = __builtin_convertvector(reinterpret_cast<Ints>(word >> 16), Floats);
            const Floats low =
                __builtin_convertvector(reinterpret_cast<Ints>(word & 0xffffu), Floats);
            Store(values + i, (high * 0x1p-16f + low * 0x1p-32f) - 0.5f);
        }
        for (; i < count; ++i) {
            std::uint32_t word = state[i];
            Temper(word);
            values[i] = UniformValue(word);
        }
    }
};

constexpr auto RENEW_STATE = KernelsOf<RenewStateKernel>();
constexpr auto UNIFORM_VALUES = KernelsOf<UniformValuesKernel>();

}  // namespace

void DitherGenerator::Seed(std::uint32_t seed) {
    static_assert(STATE_WORDS == DEGREE);
    state_[0] = seed;
    for (std::uint32_t i = 1; i < DEGREE; ++i) {
        state_[i] = 1812433253u * (state_[i - 1] ^ (state_[i - 1] >> 30)) + i;
    }
    next_ = DEGREE;
}

void DitherGenerator::RenewUsedState() {
    if (next_ != DEGREE) return;
    RENEW_STATE.Active()(state_);
    next_ = 0;
}

void DitherGenerator::Draw(float* values, int count) {
    const auto uniformValues = UNIFORM_VALUES.Active();
    while (count > 0) {
        RenewUsedState();
        const int drawn = std::min(count, DEGREE - next_);
        uniformValues(state_ + next_, values, drawn);
        next_ += drawn;
        values += drawn;
        count -= drawn;
    }
}

void DitherGenerator::Skip(long long count) {
    while (count > 0) {
        RenewUsedState();
        const auto skipped = static_cast<int>(std::min<long long>(count, DEGREE - next_));
        next_ += skipped;
        count -= skipped;
    }
}

}  // namespace orlo::sonrel::detail
