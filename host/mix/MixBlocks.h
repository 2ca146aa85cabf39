// SPDX-License-Identifier: MIT
#pragma once

#include "host/timeline/Positions.h"

namespace orlo::host {

/// A block of a mix: the samples of one frame of the engine, or the part of it in the range.
struct BlockRange {
    long long position = 0;  ///< on the timeline
    int count = 0;
};

/// Maximum number of parts of a mix.
constexpr int MAX_PARTS = 100000;

/// One of several equal parts of a mix.
struct PartChoice {
    int number = 1;  ///< from 1
    int count = 1;
};

/// The division of a mix into requests, parts and jobs.
struct MixRange {
    FrameGrid grid;
    zrtl::FrameRange span;  ///< of the whole mix
    int jobs = 1;           ///< blocks that are mixed at the same time
    PartChoice part;        ///< the part that is mixed
};

/// The blocks of a range, in order. One block is one request to the mixer; the borders of the
/// blocks are audible in level ramps, so that every way to mix a range uses these.
class MixBlocks {
public:
    explicit MixBlocks(const MixRange& range);

    /// Number of blocks of the whole mix.
    long long Count() const { return endFrame_ - firstFrame_; }
    /// The first block of the part, and the block after its last block.
    long long PartStart() const { return Count() * (part_.number - 1) / part_.count; }
    long long PartEnd() const { return Count() * part_.number / part_.count; }
    /// The samples of the part.
    zrtl::FrameRange PartSpan() const { return {Start(PartStart()), Start(PartEnd())}; }
    /// @param index  from 0 to Count(), excluded
    BlockRange operator[](long long index) const;
    /// The first sample of a block; for Count() the end of the range.
    long long Start(long long index) const;

private:
    FrameGrid frames_;
    zrtl::FrameRange span_;
    long long firstFrame_ = 0;
    long long endFrame_ = 0;
    PartChoice part_;
};

}  // namespace orlo::host
