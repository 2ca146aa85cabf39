// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/align/RecordingPair.h"

namespace orlo::host {

/// A range of B and the offset at which it is compared with A.
struct RangeTry {
    FrameRange inB;
    long long offset = 0;
};

/// Pairs of ranges of five seconds, one from each recording, the loudest first.
std::vector<RangeTry> RangesToTry(const RecordingPair& pair);

}  // namespace orlo::host
