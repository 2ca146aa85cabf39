// SPDX-License-Identifier: MIT
#include "host/align/RangeTries.h"

#include <algorithm>

namespace orlo::host {

namespace {

constexpr std::size_t RANGES_OF_EACH = 8;
constexpr int RANGE_SECONDS = 5;

std::vector<FrameRange> LoudRanges(const Recording& recording, int rate) {
    const long long length =
        std::min<long long>(recording.Frames(), static_cast<long long>(RANGE_SECONDS) * rate);
    std::vector<FrameRange> places;
    if (length < 1) return places;
    const long long step = std::max(1LL, length / 2);
    for (long long start = 0; start + length <= recording.Frames(); start += step) {
        places.push_back({start, start + length});
    }
    places.push_back({recording.Frames() - length, recording.Frames()});
    const auto level = [&](const FrameRange& p) { return recording.levels.Rms(p.start, p.end); };
    std::stable_sort(places.begin(), places.end(),
                     [&](const FrameRange& a, const FrameRange& b) { return level(a) > level(b); });
    places.resize(std::min(places.size(), RANGES_OF_EACH));
    return places;
}

}  // namespace

std::vector<RangeTry> RangesToTry(const RecordingPair& pair) {
    std::vector<RangeTry> tries;
    const std::vector<FrameRange> inA = LoudRanges(pair.A(), pair.Rate());
    for (const FrameRange& placeB : LoudRanges(pair.B(), pair.Rate())) {
        for (const FrameRange& placeA : inA) {
            const long long length = std::min(placeA.Count(), placeB.Count());
            tries.push_back({{placeB.start, placeB.start + length}, placeA.start - placeB.start});
        }
    }
    return tries;
}

}  // namespace orlo::host
