// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <vector>

#include "host/align/RecordingPair.h"

namespace orlo::host {

/// Tells how far a search has come. @return false to stop it
using SearchStep = std::function<bool()>;

/// The offset at which the levels of both recordings, as their peak files tell them, rise at the
/// same moments. Right to about a hundredth of a second; finds what long stretches have in common
/// even where each second has its like elsewhere.
long long OffsetByLevels(const RecordingPair& pair);

/// Pieces that SearchSegment cuts a recording into.
long long PieceCount(long long frames, int rate);

/// Looks for a stretch of the shorter recording along the whole of the longer one, its last part
/// included, and gives the offsets of the best few matches, the best first.
/// @param segment  in the shorter recording; B where both are equally long
/// @param step     called for each piece of the longer recording
std::vector<long long> SearchSegment(const RecordingPair& pair, const FrameRange& segment,
                                     const SearchStep& step);

/// Whether SearchSegment takes its segments from A.
bool ReferenceIsA(const RecordingPair& pair);

/// Pairs of places of five seconds, one in each recording, the loudest first: the offsets that
/// comparing each pair begins from.
struct RangeTry {
    FrameRange inB;
    long long offset = 0;
};
std::vector<RangeTry> RangesToTry(const RecordingPair& pair);

}  // namespace orlo::host
