// SPDX-License-Identifier: MIT
// How long twiddle factors stay in memory.
#include "sonrel/sync/detail/FftTables.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "sonrel/sync/AudioSync.h"
#include "sonrel/sync/detail/Fft.h"
#include "sonrel/sync/detail/FftKernels.h"
#include "tests/support/CpuPaths.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::detail::FastFourierTransform;
using orlo::sonrel::detail::FFT_KERNELS;
using orlo::sonrel::detail::FftKernels;
using orlo::sonrel::detail::HoldTwiddles;
using orlo::sonrel::detail::Twiddles;
using orlo::sonrel::detail::TwiddleSet;

std::shared_ptr<const TwiddleSet> SetOf(const FftKernels& kernels, int level) {
    return Twiddles(kernels.width, kernels.passLevels, level);
}

const FftKernels& ActiveKernels() {
    return FFT_KERNELS.Active();
}

std::size_t BytesInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

TEST(FftTables, AtMost8MegabytesAreKeptBetweenTransforms) {
    std::vector<std::weak_ptr<const TwiddleSet>> sets;
    for (const auto path : orlo::sonrel::test::AvailableCpuPaths()) {
        for (int level = 6; level <= 20; ++level) {
            sets.push_back(SetOf(FFT_KERNELS.On(path), level));
        }
    }

    std::size_t kept = 0;
    for (const auto& set : sets) {
        if (const auto alive = set.lock()) kept += alive->Bytes();
    }

    EXPECT_LE(kept, 8'000'000u);
    EXPECT_GT(kept, 4'000'000u);
}

TEST(FftTables, ATransformOfAMillionPointsLeavesAtMost8Megabytes) {
    std::vector<double> data(2U << 20, 1.0);
    const std::size_t before = BytesInUse();

    FastFourierTransform(data.data(), 1U << 20, 1);

    EXPECT_LE(BytesInUse(), before + 8'000'000);
}

TEST(FftTables, ACorrelationLeavesAtMost8Megabytes) {
    const std::vector<float> signal(1U << 18, 0.5f);
    const std::size_t before = BytesInUse();

    orlo::sonrel::AudioSync::CrossCorrelate(signal.data(), 1, signal.data(), 1, 1 << 18);

    EXPECT_LE(BytesInUse(), before + 8'000'000);
}

// 2^18 points have room for five seconds at 48000 Hz: the size of nearly every search.
TEST(FftTables, TheFactorsOf262144PointsAreKept) {
    const TwiddleSet* first = SetOf(ActiveKernels(), 18).get();

    EXPECT_EQ(SetOf(ActiveKernels(), 18).get(), first);
}

TEST(FftTables, LargeFactorsAreReleasedWithTheirLastUser) {
    auto held = HoldTwiddles(1U << 20);
    const std::weak_ptr<const TwiddleSet> set = SetOf(ActiveKernels(), 20);
    std::vector<double> data(2U << 20, 1.0);

    FastFourierTransform(data.data(), 1U << 20, 1);
    EXPECT_EQ(set.lock(), held);
    held.reset();

    EXPECT_TRUE(set.expired());
}

TEST(FftTables, TransformsWithoutTablesHoldNothing) {
    EXPECT_EQ(HoldTwiddles(0), nullptr);
    EXPECT_EQ(HoldTwiddles(32), nullptr);
}

}  // namespace
}  // namespace sonrel_tests
