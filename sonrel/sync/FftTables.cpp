// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/FftTables.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <mutex>
#include <vector>

namespace orlo::sonrel::detail {
namespace {

constexpr double PI = 3.14159265358979323846;
constexpr int LEVEL_COUNT = 25;  // transforms of 1 to 2^24 points
constexpr int MAX_PASS_LEVELS = 3;
constexpr std::size_t ALIGNMENT = 8;  // doubles

// A table whose first value lies on a cache line.
class PassTable {
public:
    const double* Values(int width, int firstLevel, int levels) {
        std::call_once(made_, [&] { Make(width, firstLevel, levels); });
        return begin_;
    }

private:
    void Make(int width, int firstLevel, int levels) {
        const std::size_t legPoints = std::size_t{1} << (firstLevel - 1);
        const std::size_t factors = (std::size_t{1} << levels) - 1;
        values_.resize(2 * legPoints * factors + ALIGNMENT);
        const std::size_t misaligned =
            reinterpret_cast<std::uintptr_t>(values_.data()) / sizeof(double) % ALIGNMENT;
        begin_ = values_.data() + (ALIGNMENT - misaligned) % ALIGNMENT;
        for (int level = 0; level < levels; ++level) {
            FillLevel(width, firstLevel, level, legPoints, factors);
        }
    }

    void FillLevel(int width, int firstLevel, int level, std::size_t legPoints,
                   std::size_t factors) {
        const auto lanes = static_cast<std::size_t>(width);
        const std::size_t legs = std::size_t{1} << level;
        TwiddleRecurrence factor(1U << (firstLevel + level));
        for (std::size_t leg = 0; leg < legs; ++leg) {
            for (std::size_t point = 0; point < legPoints; ++point) {
                const std::size_t step = point / lanes;
                double* at = begin_ + 2 * lanes * (step * factors + legs - 1 + leg) + point % lanes;
                at[0] = factor.Re();
                at[lanes] = factor.Im();
                factor.Advance();
            }
        }
    }

    std::once_flag made_;
    std::vector<double> values_;
    double* begin_ = nullptr;
};

int WidthIndex(int width) {
    return width == 2 ? 0 : width == 4 ? 1 : 2;
}

}  // namespace

TwiddleRecurrence::TwiddleRecurrence(unsigned int size) {
    const double half = std::sin(PI / size);
    c1_ = 2.0 * half * half;
    c2_ = std::sin(2.0 * PI / size);
}

const double* BaseTwiddles() {
    static const std::array<double, 12> VALUES = [] {
        std::array<double, 12> made{};
        std::size_t at = 0;
        for (const unsigned int size : {4U, 8U}) {
            TwiddleRecurrence factor(size);
            for (unsigned int k = 0; k < size / 2; ++k) {
                made[at++] = factor.Re();
                made[at++] = factor.Im();
                factor.Advance();
            }
        }
        return made;
    }();
    return VALUES.data();
}

const double* PassTwiddles(int width, int firstLevel, int levels) {
    static std::array<std::array<std::array<PassTable, MAX_PASS_LEVELS>, LEVEL_COUNT>, 3> tables;
    PassTable& table =
        tables[static_cast<std::size_t>(WidthIndex(width))][static_cast<std::size_t>(firstLevel)]
              [static_cast<std::size_t>(levels - 1)];
    return table.Values(width, firstLevel, levels);
}

}  // namespace orlo::sonrel::detail
