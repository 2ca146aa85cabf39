// SPDX-License-Identifier: MIT
#include "sonrel/sync/AudioSync.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/sync/StereoReader.h"
#include "sonrel/sync/detail/AssetSearch.h"
#include "sonrel/sync/detail/Correlation.h"
#include "sonrel/sync/detail/Fft.h"
#include "sonrel/sync/detail/ReferenceSegments.h"

namespace orlo::sonrel {
namespace {

using project::MediaAsset;
using Assets = std::pair<std::shared_ptr<MediaAsset> const&, std::shared_ptr<MediaAsset> const&>;

constexpr long long WHOLE_SECONDS = 5;  // recordings up to this length are compared whole

/// Two equally long stretches of interleaved stereo.
struct RangePair {
    std::vector<float> a;
    std::vector<float> b;
    int count = 0;

    /// Correlates one channel with a lag removed.
    AudioSync::CorrelationResult Correlate(std::size_t channel, long long lag) const {
        const std::size_t skipped = 2 * static_cast<std::size_t>(std::llabs(lag));
        return AudioSync::CrossCorrelate(a.data() + channel + (lag > 0 ? skipped : 0), 2,
                                         b.data() + channel + (lag < 0 ? skipped : 0), 2,
                                         count - static_cast<int>(std::llabs(lag)));
    }
};

AudioSync::CorrelationResult CompareChannels(const RangePair& ranges) {
    const auto twiddles =
        detail::HoldTwiddles(detail::TransformPoints(2 * static_cast<unsigned int>(ranges.count)));
    const AudioSync::CorrelationResult left = ranges.Correlate(0, 0);
    const bool mono = IsMono(ranges.a) && IsMono(ranges.b);
    const AudioSync::CorrelationResult right = mono ? left : ranges.Correlate(1, 0);
    if (left.offset == 0 && right.offset == 0) {
        return {std::max(left.correlation, right.correlation), 0};
    }
    // The zeros that pad both stretches lower the correlation of a match with a lag. Measured again
    // without the lag, the correlation is that of the common part.
    const double leftAgain = ranges.Correlate(0, left.offset).correlation;
    const double rightAgain = mono ? leftAgain : ranges.Correlate(1, right.offset).correlation;
    if (leftAgain >= rightAgain) return {leftAgain, left.offset};
    return {rightAgain, right.offset};
}

AudioSync::CorrelationResult SearchAssets(const std::shared_ptr<Sonrel>& engine, const Assets& pair,
                                          int sampleRate,
                                          const std::function<void(int, int)>& report,
                                          const std::atomic<bool>* cancel) {
    if (!pair.first->HasAudio() || !pair.second->HasAudio()) return {};
    const long long countA = pair.first->AudioStream()->ConformedSampleCount();
    const long long countB = pair.second->AudioStream()->ConformedSampleCount();
    if (countA == 0 || countB == 0) return {};
    if (std::max(countA, countB) <= WHOLE_SECONDS * sampleRate &&
        std::llabs(countA - countB) < sampleRate) {
        return AudioSync::CompareRanges(engine, pair.first, pair.second,
                                        static_cast<int>(std::min(countA, countB)), 0, 0);
    }
    const bool swapped = countB < countA;
    const AudioMixer& mixer = *engine->Mixer();
    const detail::ReferenceSet reference =
        detail::CollectReferenceSegments(mixer, swapped ? pair.second : pair.first);
    // A rate of 0 has no blocks.
    if (reference.segments.empty() || reference.blockSize < 1) return {};
    const auto twiddles = detail::HoldTwiddles(static_cast<unsigned int>(reference.transformSize));
    const long long longCount = std::max(countA, countB);
    detail::SearchProgress progress(
        report, detail::ProgressTotal(longCount, reference.blockSize, reference.segments.size()));
    progress.Begin();
    const detail::SearchSetting setting{mixer, swapped ? pair.first : pair.second, reference,
                                        swapped, cancel};
    std::vector<detail::SearchResult> results = detail::SearchBlocks(setting, progress);
    if (results.empty()) return {};
    detail::RefineCandidates(setting, results);
    const detail::SearchResult& best = detail::BestOf(results);
    progress.End();
    return {best.correlation, best.offset};
}

}  // namespace

AudioSync::CorrelationResult AudioSync::CrossCorrelate(float const* a, int strideA, float const* b,
                                                       int strideB, int count) {
    return detail::CorrelateSignals(a, strideA, b, strideB, count);
}

double AudioSync::CorrelationEnergy(float const* a, int strideA, float const* b, int strideB,
                                    int count) {
    return detail::EnergyOfCorrelation(a, strideA, b, strideB, count);
}

AudioSync::CorrelationResult AudioSync::FindOffset(std::shared_ptr<Sonrel> const& engine,
                                                   std::shared_ptr<project::MediaAsset> const& a,
                                                   std::shared_ptr<project::MediaAsset> const& b,
                                                   int sampleRate,
                                                   std::function<void(int, int)> progress,
                                                   std::atomic<bool>* cancel) {
    // The compiler chooses when an argument is destroyed. The objects that the function captured
    // must be destroyed before this call returns.
    const std::function<void(int, int)> report = std::exchange(progress, nullptr);
    return SearchAssets(engine, {a, b}, sampleRate, report, cancel);
}

AudioSync::CorrelationResult AudioSync::CompareRanges(std::shared_ptr<Sonrel> const& engine,
                                                      std::shared_ptr<project::MediaAsset> const& a,
                                                      std::shared_ptr<project::MediaAsset> const& b,
                                                      int count, long long startA,
                                                      long long startB) {
    if (startA < 0 || startB < 0 || count <= 0) return {};
    if (!a->HasAudio() || !b->HasAudio()) return {};
    const AudioMixer& mixer = *engine->Mixer();
    RangePair ranges;
    ranges.count = count;
    const std::size_t values = 2 * static_cast<std::size_t>(count);
    ranges.a = ReadStereo(mixer, a, {startA, startA + count});
    if (ranges.a.size() != values) return {};
    ranges.b = ReadStereo(mixer, b, {startB, startB + count});
    if (ranges.b.size() != values) return {};
    return CompareChannels(ranges);
}

}  // namespace orlo::sonrel
