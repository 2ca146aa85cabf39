// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>

namespace zrtl {

/// A half-open range of positions: frames, samples or blocks from @p start, inclusive, to @p end,
/// exclusive. A range whose end is at or before its start is empty.
struct FrameRange {
    std::int64_t start = 0;  ///< inclusive
    std::int64_t end = 0;    ///< exclusive

    /// Positions in the range; 0 for an empty range.
    constexpr std::int64_t Count() const { return std::max<std::int64_t>(end - start, 0); }

    constexpr bool IsEmpty() const { return end <= start; }  ///< whether it has no position
    /// Whether a position is in the range.
    constexpr bool Contains(std::int64_t position) const {
        return position >= start && position < end;
    }

    friend constexpr bool operator==(const FrameRange&, const FrameRange&) = default;
};

}  // namespace zrtl
