// SPDX-License-Identifier: MIT
#include "sonrel/cpu/Kernels.h"

#include "tests/support/CpuPaths.h"

namespace orlo::sonrel::detail {
namespace {

/// Reports the bytes of the vectors that it was compiled for.
template <CpuPath WIDEST_PATH>
struct WidthKernel {
    using Signature = void(int& bytes);
    static constexpr CpuPath WIDEST = WIDEST_PATH;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(int& bytes) {
        bytes = static_cast<int>(sizeof(typename L::Floats));
    }
};

struct PairsKernel {
    using Signature = void(const float* pairs, float* split, float* joined);
    static constexpr CpuPath WIDEST = CpuPath::Avx512;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(const float* pairs, float* split, float* joined) {
        typename L::Floats low, high, first, second;
        Load(low, pairs);
        Load(high, pairs + L::COUNT);
        SplitPairs(low, high, first, second, LANE_NUMBERS<L::COUNT>);
        Store(split, first);
        Store(split + L::COUNT, second);
        JoinPairs(first, second, low, high, LANE_NUMBERS<L::COUNT>);
        Store(joined, low);
        Store(joined + L::COUNT, high);
    }
};

template <CpuPath WIDEST_PATH>
int ActiveWidth() {
    int bytes = 0;
    KernelsOf<WidthKernel<WIDEST_PATH>>().Active()(bytes);
    return bytes;
}

class KernelsTest : public test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(KernelsTest);

TEST_P(KernelsTest, AKernelRunsWithTheVectorsOfTheActivePath) {
    const int expected[] = {16, 32, 64};

    EXPECT_EQ(ActiveWidth<CpuPath::Avx512>(), expected[static_cast<int>(GetParam())]);
}

TEST_P(KernelsTest, APathAboveTheWidestOfAKernelTakesTheWidest) {
    const int expected[] = {16, 32, 32};

    EXPECT_EQ(ActiveWidth<CpuPath::Avx2>(), expected[static_cast<int>(GetParam())]);
}

TEST_P(KernelsTest, PairsAreSplitIntoFirstAndSecondValuesAndJoinedAgain) {
    const int count = ActiveWidth<CpuPath::Avx512>() / 4;
    float pairs[32];
    float split[32];
    float joined[32];
    for (int i = 0; i < 32; ++i) pairs[i] = static_cast<float>(i);

    KernelsOf<PairsKernel>().Active()(pairs, split, joined);

    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(split[i], static_cast<float>(2 * i));
        EXPECT_EQ(split[count + i], static_cast<float>(2 * i + 1));
    }
    for (int i = 0; i < 2 * count; ++i) EXPECT_EQ(joined[i], static_cast<float>(i));
}

}  // namespace
}  // namespace orlo::sonrel::detail
