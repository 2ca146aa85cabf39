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

// Renews consecutive words. None of them needs a word that is renewed less than a vector before it.
// Narrower vectors renew the rest.
// @param further  the words MIDDLE places further
template <typename L>
SONREL_ALWAYS_INLINE void TwistRange(std::uint32_t* words, const std::uint32_t* further,
                                     int count) {
    int i = 0;
    for (; i + L::COUNT <= count; i += L::COUNT) {
        typename L::Words word, following, furtherWords;
        Load(word, words + i);
        Load(following, words + i + 1);
        Load(furtherWords, further + i);
        Twist(word, following, furtherWords);
        Store(words + i, word);
    }
    if constexpr (L::COUNT > 4) {
        TwistRange<Lanes<2 * L::COUNT>>(words + i, further + i, count - i);
    } else {
        for (; i < count; ++i) Twist(words[i], words[i + 1], further[i]);
    }
}

struct RenewStateKernel {
    using Signature = void(std::uint32_t* state);
    static constexpr CpuPath WIDEST = CpuPath::Avx512;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(std::uint32_t* state) {
        TwistRange<L>(state, state + MIDDLE, DEGREE - MIDDLE);
        TwistRange<L>(state + (DEGREE - MIDDLE), state, MIDDLE - 1);
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

// Vectors of words divided by 2^32. Only AVX-512 converts unsigned numbers. The other paths convert
// a draw as high half + low half: both are exact, so that their sum rounds once, as the conversion
// of the whole does.
template <typename L>
SONREL_ALWAYS_INLINE void ToFractions(const typename L::Words& words, typename L::Floats& values) {
    using Floats = typename L::Floats;
    using Ints = typename L::Ints;
    if constexpr (L::COUNT == 16) {
        values = __builtin_convertvector(words, Floats) * 0x1p-32f;
        return;
    }
    const Floats high = __builtin_convertvector(reinterpret_cast<Ints>(words >> 16), Floats);
    const Floats low = __builtin_convertvector(reinterpret_cast<Ints>(words & 0xffffu), Floats);
    values = high * 0x1p-16f + low * 0x1p-32f;
}

struct UniformValuesKernel {
    using Signature = void(const std::uint32_t* state, float* values, int count);
    static constexpr CpuPath WIDEST = CpuPath::Avx512;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(const std::uint32_t* state, float* values, int count) {
        int i = 0;
        for (; i + L::COUNT <= count; i += L::COUNT) {
            typename L::Words words;
            typename L::Floats fractions;
            Load(words, state + i);
            Temper(words);
            ToFractions<L>(words, fractions);
            Store(values + i, fractions - 0.5f);
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
