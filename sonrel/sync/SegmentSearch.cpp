// SPDX-License-Identifier: MIT
#include "sonrel/sync/SegmentSearch.h"

#include <algorithm>

#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/sync/AudioSync.h"
#include "sonrel/sync/StereoReader.h"

namespace orlo::sonrel {
namespace {

constexpr std::size_t KEPT_MATCHES = 4;

struct Match {
    double correlation = 0.0;
    long long start = 0;
};

/// Frames of a piece: a transform of twice as many points contains it and the segment.
long long PieceFrames(int rate) {
    long long frames = 1;
    while (frames < 5LL * rate) frames *= 2;
    return frames;
}

/// The positions of the best matches, each once.
std::vector<long long> BestStarts(std::vector<Match> matches) {
    std::stable_sort(matches.begin(), matches.end(),
                     [](const Match& a, const Match& b) { return a.correlation > b.correlation; });
    std::vector<long long> starts;
    for (const Match& match : matches) {
        if (std::find(starts.begin(), starts.end(), match.start) == starts.end()) {
            starts.push_back(match.start);
        }
        if (starts.size() == KEPT_MATCHES) break;
    }
    return starts;
}

}  // namespace

long long SegmentSearch::PieceCount() const {
    return longRecording->AudioStream()->ConformedSampleCount() / (PieceFrames(rate) - rate) + 1;
}

std::vector<long long> SegmentSearch::Find(const zrtl::FrameRange& segment,
                                           const Step& step) const {
    const long long frames = longRecording->AudioStream()->ConformedSampleCount();
    const long long piece = PieceFrames(rate);
    const std::size_t values = 2 * static_cast<std::size_t>(piece);
    std::vector<float> wanted = ReadStereo(mixer, reference, segment);
    wanted.resize(values, 0.0f);
    const bool wantedIsMono = IsMono(wanted);
    std::vector<Match> matches;
    for (long long start = 0; start < frames; start += piece - rate) {
        if (step && !step()) break;
        std::vector<float> heard =
            ReadStereo(mixer, longRecording, {start, std::min(start + piece, frames)});
        heard.resize(values, 0.0f);
        const int channels = wantedIsMono && IsMono(heard) ? 1 : 2;
        for (int channel = 0; channel < channels; ++channel) {
            const AudioSync::CorrelationResult found = AudioSync::CrossCorrelate(
                heard.data() + channel, 2, wanted.data() + channel, 2, static_cast<int>(piece));
            if (found.correlation > 0.0)
                matches.push_back({found.correlation, start + found.offset});
        }
    }
    return BestStarts(std::move(matches));
}

}  // namespace orlo::sonrel
