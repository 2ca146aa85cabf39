// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel {

/// A stretch of a recording.
struct FrameRange {
    long long start = 0;   ///< sample frame
    long long length = 0;  ///< sample frames
};

/// Whether two stretches have a frame in common.
constexpr bool Overlap(const FrameRange& a, const FrameRange& b) {
    return a.start < b.start + b.length && b.start < a.start + a.length;
}

}  // namespace orlo::sonrel
