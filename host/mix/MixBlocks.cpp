// SPDX-License-Identifier: MIT
#include "host/mix/MixBlocks.h"

#include <algorithm>

namespace orlo::host {

MixBlocks::MixBlocks(const MixRange& range)
    : frames_(range.grid.Engine()),
      span_(range.span),
      firstFrame_(frames_.FrameOf(span_.start)),
      endFrame_(frames_.FrameOf(span_.end - 1) + 1),
      part_(range.part) {}

BlockRange MixBlocks::operator[](long long index) const {
    const long long start = Start(index);
    return {start, static_cast<int>(Start(index + 1) - start)};
}

long long MixBlocks::Start(long long index) const {
    return std::clamp<long long>(frames_.Start(firstFrame_ + index), span_.start, span_.end);
}

}  // namespace orlo::host
