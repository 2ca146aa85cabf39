// SPDX-License-Identifier: MIT
#include "host/align/RecordingPair.h"

#include <algorithm>
#include <cstdlib>

namespace orlo::host {

namespace {

using sonrel::AudioSync;

constexpr int REFINED_SECONDS = 5;
constexpr int PLACE_SECONDS = 2;
constexpr int PLACES = 10;
constexpr int STEPS_PER_SECOND = 10;  // distance between the starts of the tried ranges

}  // namespace

FrameRange RecordingPair::OverlapAt(long long offset) const {
    const long long begin = std::max(0LL, -offset);
    const long long end = std::min(b_.Frames(), a_.Frames() - offset);
    return {begin, std::max(begin, end)};
}

double RecordingPair::CommonLevel(long long offset, const FrameRange& place) const {
    return b_.levels.Rms(place.start, place.end) *
           a_.levels.Rms(place.start + offset, place.end + offset);
}

FrameRange RecordingPair::LoudestRange(long long offset, const FrameRange& within,
                                       long long length) const {
    const long long fitting = std::min<long long>(length, within.Count());
    FrameRange best{within.start, within.start + fitting};
    double loudest = -1.0;
    const long long last = within.end - fitting;
    const long long step = std::max(1, rate_ / STEPS_PER_SECOND);
    for (long long start = within.start; start <= last; start += step) {
        const double level = CommonLevel(offset, {start, start + fitting});
        if (level <= loudest) continue;
        loudest = level;
        best = {start, start + fitting};
    }
    return best;
}

Measure RecordingPair::MeasureAt(long long offset, const FrameRange& place) const {
    const AudioSync::CorrelationResult found =
        AudioSync::CompareRanges(engine_, a_.asset, b_.asset, static_cast<int>(place.Count()),
                                 place.start + offset, place.start);
    const long long lag = found.offset;
    return {found.correlation,
            offset + lag,
            place,
            {place.start + std::max(0LL, -lag), place.end - std::max(0LL, lag)}};
}

Measure RecordingPair::Refine(long long offset) const {
    const long long length = static_cast<long long>(REFINED_SECONDS) * rate_;
    const Measure first = MeasureAt(offset, LoudestRange(offset, OverlapAt(offset), length));
    if (std::llabs(first.offset - offset) <= first.place.Count() / 8) return first;
    const Measure second =
        MeasureAt(first.offset, LoudestRange(first.offset, OverlapAt(first.offset), length));
    const bool hasLittleOverlap = first.compared.Count() < second.compared.Count() / 2;
    return hasLittleOverlap || second.correlation > first.correlation ? second : first;
}

std::vector<Measure> RecordingPair::MeasureAlong(long long offset) const {
    const FrameRange overlap = OverlapAt(offset);
    const long long length =
        std::min<long long>(overlap.Count(), static_cast<long long>(PLACE_SECONDS) * rate_);
    std::vector<Measure> measures;
    if (length < 1) return measures;
    const long long parts = std::clamp<long long>(overlap.Count() / length, 1, PLACES);
    for (long long part = 0; part < parts; ++part) {
        const long long begin = overlap.start + overlap.Count() * part / parts;
        const long long end = overlap.start + overlap.Count() * (part + 1) / parts;
        const FrameRange place = LoudestRange(offset, {begin, end}, length);
        if (CommonLevel(offset, place) > 0.0) {
            measures.push_back(MeasureAt(offset, place));
        } else if (b_.levels.Rms(begin, end) > 0.0 ||
                   a_.levels.Rms(begin + offset, end + offset) > 0.0) {
            measures.push_back({0.0, offset, place, place});
        }
    }
    return measures;
}

}  // namespace orlo::host
