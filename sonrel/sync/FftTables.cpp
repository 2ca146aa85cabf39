// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/FftTables.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <deque>
#include <mutex>

namespace orlo::sonrel::detail {
namespace {

constexpr double PI = 3.14159265358979323846;
constexpr std::size_t LEVEL_COUNT = 25;  // transforms of 1 to 2^24 points
constexpr std::size_t WIDTH_COUNT = 3;
constexpr std::size_t ALIGNMENT = 8;  // doubles

std::size_t WidthIndex(int width) {
    return width == 2 ? 0 : width == 4 ? 1 : 2;
}

/// The sets that are in use, and the sets that are kept without a user.
class TwiddleCache {
public:
    std::shared_ptr<const TwiddleSet> Get(int width, int passLevels, int level) {
        Slot& slot = slots_[WidthIndex(width)][static_cast<std::size_t>(level)];
        const std::lock_guard making(slot.mutex);
        std::shared_ptr<const TwiddleSet> set = slot.set.lock();
        if (set) return set;
        set = std::make_shared<const TwiddleSet>(width, passLevels, level);
        slot.set = set;
        Keep(set);
        return set;
    }

private:
    struct Slot {
        std::mutex mutex;  // held while the set is made: it is made once
        std::weak_ptr<const TwiddleSet> set;
    };

    void Keep(const std::shared_ptr<const TwiddleSet>& set) {
        if (set->Bytes() > MAX_KEPT_TWIDDLE_BYTES) return;
        const std::lock_guard lock(mutex_);
        kept_.push_back(set);
        keptBytes_ += set->Bytes();
        while (keptBytes_ > MAX_KEPT_TWIDDLE_BYTES) {
            keptBytes_ -= kept_.front()->Bytes();
            kept_.pop_front();
        }
    }

    std::array<std::array<Slot, LEVEL_COUNT>, WIDTH_COUNT> slots_;
    std::mutex mutex_;
    std::deque<std::shared_ptr<const TwiddleSet>> kept_;  // oldest first
    std::size_t keptBytes_ = 0;
};

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

PassTable::PassTable(int width, int firstLevel, int levels) {
    const std::size_t factors = (std::size_t{1} << levels) - 1;
    values_.resize((factors << firstLevel) + ALIGNMENT);
    const std::size_t misaligned =
        reinterpret_cast<std::uintptr_t>(values_.data()) / sizeof(double) % ALIGNMENT;
    begin_ = values_.data() + (ALIGNMENT - misaligned) % ALIGNMENT;
    for (int level = 0; level < levels; ++level) FillLevel(width, firstLevel, level, levels);
}

void PassTable::FillLevel(int width, int firstLevel, int level, int levels) {
    const auto lanes = static_cast<std::size_t>(width);
    const std::size_t factors = (std::size_t{1} << levels) - 1;
    const std::size_t legPoints = std::size_t{1} << (firstLevel - 1);
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

TwiddleSet::TwiddleSet(int width, int passLevels, int level) {
    passes_.resize(static_cast<std::size_t>(level - BASE_LEVELS));
    while (level > BASE_LEVELS) {
        const int levels = std::min(passLevels, level - BASE_LEVELS);
        passes_[static_cast<std::size_t>(level - BASE_LEVELS - 1)] =
            std::make_unique<const PassTable>(width, level - levels + 1, levels);
        level -= levels;
    }
}

std::size_t TwiddleSet::Bytes() const {
    std::size_t bytes = 0;
    for (const auto& pass : passes_) bytes += pass ? pass->Bytes() : 0;
    return bytes;
}

std::shared_ptr<const TwiddleSet> Twiddles(int width, int passLevels, int level) {
    static TwiddleCache cache;
    return cache.Get(width, passLevels, level);
}

}  // namespace orlo::sonrel::detail
