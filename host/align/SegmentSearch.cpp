// SPDX-License-Identifier: MIT
#include "host/align/SegmentSearch.h"

#include <algorithm>
#include <cmath>

#include "host/align/StereoReader.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

using sonrel::AudioSync;

constexpr std::size_t MAX_ENVELOPE = std::size_t{1} << 20;  // values: bounds the memory
constexpr std::size_t KEPT_MATCHES = 4;
constexpr std::size_t RANGES_OF_EACH = 8;
constexpr int RANGE_SECONDS = 5;

/// How much louder each moment is than the one before, the quiet ones raised.
std::vector<float> Onsets(const LevelProfile& levels, std::size_t binsInOne, std::size_t count) {
    const std::vector<float> bins = levels.Bins();
    std::vector<float> onsets(count, 0.0f);
    float before = 0.0f;
    for (std::size_t i = 0; i * binsInOne < bins.size() && i < count; ++i) {
        float sum = 0.0f;
        const std::size_t end = std::min(bins.size(), (i + 1) * binsInOne);
        for (std::size_t bin = i * binsInOne; bin < end; ++bin) sum += bins[bin];
        const float level = std::sqrt(sum);
        if (i > 0) onsets[i] = level - before;
        before = level;
    }
    return onsets;
}

/// A match of a segment in a piece of the longer recording.
struct Match {
    double correlation = 0.0;
    long long start = 0;  ///< where the longer recording has the segment's first frame
};

/// Frames of a piece: a transform of twice as many points holds it and the segment.
long long PieceFrames(int rate) {
    long long frames = 1;
    while (frames < 5LL * rate) frames *= 2;
    return frames;
}

std::vector<FrameRange> LoudRanges(const Recording& recording, int rate) {
    const long long length =
        std::min<long long>(recording.Frames(), static_cast<long long>(RANGE_SECONDS) * rate);
    std::vector<FrameRange> places;
    if (length < 1) return places;
    const long long step = std::max(1LL, length / 2);
    for (long long start = 0; start + length <= recording.Frames(); start += step) {
        places.push_back({start, length});
    }
    places.push_back({recording.Frames() - length, length});
    const auto level = [&](const FrameRange& p) {
        return recording.levels.Rms(p.start, p.start + p.length);
    };
    std::stable_sort(places.begin(), places.end(),
                     [&](const FrameRange& a, const FrameRange& b) { return level(a) > level(b); });
    places.resize(std::min(places.size(), RANGES_OF_EACH));
    return places;
}

}  // namespace

long long OffsetByLevels(const RecordingPair& pair) {
    const std::size_t bins = std::max(pair.A().levels.Bins().size(), pair.B().levels.Bins().size());
    const std::size_t binsInOne = bins / MAX_ENVELOPE + 1;
    const std::size_t count = bins / binsInOne + 1;
    const std::vector<float> a = Onsets(pair.A().levels, binsInOne, count);
    const std::vector<float> b = Onsets(pair.B().levels, binsInOne, count);
    const AudioSync::CorrelationResult found =
        AudioSync::CrossCorrelate(a.data(), 1, b.data(), 1, static_cast<int>(count));
    const double seconds = static_cast<double>(found.offset) * static_cast<double>(binsInOne) /
                           LevelProfile::BINS_PER_SECOND;
    return zrtl::TruncToInt64(zrtl::RoundHalfAway(seconds * pair.Rate()));
}

bool ReferenceIsA(const RecordingPair& pair) {
    return pair.A().Frames() < pair.B().Frames();
}

long long PieceCount(long long frames, int rate) {
    return frames / (PieceFrames(rate) - rate) + 1;
}

std::vector<long long> SearchSegment(const RecordingPair& pair, const FrameRange& segment,
                                     const SearchStep& step) {
    const bool isA = ReferenceIsA(pair);
    const Recording& reference = isA ? pair.A() : pair.B();
    const Recording& longer = isA ? pair.B() : pair.A();
    const long long piece = PieceFrames(pair.Rate());
    const auto count = static_cast<std::size_t>(piece);
    const std::vector<float> wanted = StereoReader(pair, reference).Read(segment, count);
    const bool wantedIsMono = ChannelsAreEqual(wanted);
    const StereoReader reader(pair, longer);
    std::vector<Match> matches;
    for (long long start = 0; start < longer.Frames(); start += piece - pair.Rate()) {
        if (step && !step()) break;
        const FrameRange place{start, std::min(piece, longer.Frames() - start)};
        const std::vector<float> heard = reader.Read(place, count);
        const int channels = wantedIsMono && ChannelsAreEqual(heard) ? 1 : 2;
        for (int channel = 0; channel < channels; ++channel) {
            const AudioSync::CorrelationResult found = AudioSync::CrossCorrelate(
                heard.data() + channel, 2, wanted.data() + channel, 2, static_cast<int>(piece));
            if (found.correlation > 0.0) {
                matches.push_back({found.correlation, start + found.offset});
            }
        }
    }
    std::stable_sort(matches.begin(), matches.end(),
                     [](const Match& a, const Match& b) { return a.correlation > b.correlation; });
    std::vector<long long> offsets;
    for (const Match& match : matches) {
        const long long offset = isA ? segment.start - match.start : match.start - segment.start;
        if (std::find(offsets.begin(), offsets.end(), offset) == offsets.end()) {
            offsets.push_back(offset);
        }
        if (offsets.size() == KEPT_MATCHES) break;
    }
    return offsets;
}

std::vector<RangeTry> RangesToTry(const RecordingPair& pair) {
    std::vector<RangeTry> tries;
    const std::vector<FrameRange> inA = LoudRanges(pair.A(), pair.Rate());
    for (const FrameRange& placeB : LoudRanges(pair.B(), pair.Rate())) {
        for (const FrameRange& placeA : inA) {
            const long long length = std::min(placeA.length, placeB.length);
            tries.push_back({{placeB.start, length}, placeA.start - placeB.start});
        }
    }
    return tries;
}

}  // namespace orlo::host
