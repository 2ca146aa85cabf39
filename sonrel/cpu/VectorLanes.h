// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstring>

/// Vectors of the compiler's own, for kernels that are written once and compiled for several
/// instruction sets: as always-inline templates over a set of lanes, called from one function for
/// each target. They do lane by lane what the scalar operators do, so every width gives the same
/// bits.
///
/// No vector is a parameter or a result: without AVX the compiler has no way to pass the wide ones.
namespace orlo::sonrel::detail {

#define SONREL_ALWAYS_INLINE [[gnu::always_inline]] inline

/// Lanes that every processor has: 16 bytes.
struct NarrowLanes {
    static constexpr int COUNT = 4;
    using Floats = float __attribute__((vector_size(16)));
    using Ints = std::int32_t __attribute__((vector_size(16)));
    using Words = std::uint32_t __attribute__((vector_size(16)));
    static constexpr int DOUBLE_COUNT = 2;
    using Doubles = double __attribute__((vector_size(16)));
    using Longs = std::int64_t __attribute__((vector_size(16)));
    using HalfFloats = float __attribute__((vector_size(8)));
    using HalfInts = std::int32_t __attribute__((vector_size(8)));
};

/// Lanes of 32 bytes.
struct WideLanes {
    static constexpr int COUNT = 8;
    using Floats = float __attribute__((vector_size(32)));
    using Ints = std::int32_t __attribute__((vector_size(32)));
    using Words = std::uint32_t __attribute__((vector_size(32)));
    static constexpr int DOUBLE_COUNT = 4;
    using Doubles = double __attribute__((vector_size(32)));
    using Longs = std::int64_t __attribute__((vector_size(32)));
    using HalfFloats = float __attribute__((vector_size(16)));
    using HalfInts = std::int32_t __attribute__((vector_size(16)));
};

template <typename Vector, typename Value>
SONREL_ALWAYS_INLINE void Load(Vector& to, const Value* from) {
    std::memcpy(&to, from, sizeof to);
}

template <typename Vector, typename Value>
SONREL_ALWAYS_INLINE void Store(Value* to, const Vector& from) {
    std::memcpy(to, &from, sizeof from);
}

}  // namespace orlo::sonrel::detail
