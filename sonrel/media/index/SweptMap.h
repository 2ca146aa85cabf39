// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <map>

namespace zrh::media::detail {

/// A map that removes its dead entries. It searches for them only after it has doubled in size
/// since the last search, so that an access takes logarithmic time on average. It contains at most
/// twice the living entries, and a few more.
///
/// Threads: one at a time.
template <typename Key, typename Value>
class SweptMap {
public:
    /// The entry of a key, created if it does not exist. References to living entries stay valid.
    /// @param isDead  whether an entry may be removed; a new entry may be dead until the next call
    template <typename IsDead>
    Value& At(const Key& key, IsDead isDead) {
        if (entries_.size() >= sweepSize_) {
            std::erase_if(entries_, [&](const auto& entry) { return isDead(entry.second); });
            sweepSize_ = std::max(MIN_SWEEP, 2 * entries_.size());
        }
        return entries_[key];
    }

    std::size_t Size() const { return entries_.size(); }

private:
    static constexpr std::size_t MIN_SWEEP = 64;

    std::map<Key, Value> entries_;
    std::size_t sweepSize_ = MIN_SWEEP;
};

}  // namespace zrh::media::detail
