// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/AssetSearch.h"

#include <future>

#include "sonrel/base/Numbers.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/sync/detail/FrameReader.h"
#include "sonrel/sync/detail/Parallel.h"

namespace orlo::sonrel::detail {
namespace {

constexpr unsigned int MIN_SLICE = 4;  // results for each thread, at least

/// Runs a job for both channels in parallel.
template <class Job>
void OnBothChannels(const Job& job) {
    std::future<void> left = std::async([&job] { job(Channel::Left); });
    std::future<void> right = std::async([&job] { job(Channel::Right); });
    left.get();
    right.get();
}

/// The search along the long recording: the buffers of one block, which all blocks reuse, and the
/// history of each segment.
class BlockSearch {
public:
    explicit BlockSearch(const SearchSetting& setting)
        : setting_(setting), reference_(setting.reference) {
        const auto rate = static_cast<std::size_t>(reference_.sampleRate);
        histories_.resize(reference_.segments.size());
        for (ChannelPair<Spectrum>& history : histories_) {
            history.left.assign(rate, 0.0);
            history.right.assign(rate, 0.0);
        }
    }

    std::vector<SearchResult> Run(SearchProgress& progress) {
        const long long longCount = setting_.longRecording->AudioStream()->ConformedSampleCount();
        for (position_ = 0; position_ < longCount; position_ += read_) {
            if (setting_.Cancelled()) return {};
            if (!ReadBlock()) break;
            for (std::size_t index = 0; index < reference_.segments.size(); ++index) {
                if (setting_.Cancelled()) return {};
                results_.push_back(SearchSegment(index));
                progress.Step();
            }
        }
        return std::move(results_);
    }

private:
    /// @return false when less than a second remains; such a tail is not searched
    bool ReadBlock() {
        const int rate = reference_.sampleRate;
        read_ = ReadFrames(setting_.mixer, setting_.longRecording, position_, reference_.blockSize,
                           frames_);
        if (read_ < rate) return false;
        SplitStereo(frames_.data(), read_, rate - 1, reference_.transformSize - read_ - rate + 1,
                    samples_, norms_);
        OnBothChannels([this](Channel channel) {
            if (!(static_cast<double>(norms_[channel]) > SILENCE_THRESHOLD)) return;
            SpectrumOf(samples_[channel].data(),
                       static_cast<unsigned int>(reference_.transformSize), spectra_[channel]);
        });
        return true;
    }

    SearchResult SearchSegment(std::size_t index) {
        const ReferenceSegment& segment = reference_.segments[index];
        ChannelPair<SearchResult> found;
        OnBothChannels([&, this](Channel channel) {
            found[channel] =
                SearchBlock(channel, reference_.sampleRate, read_, segment.norms[channel],
                            norms_[channel], segment.spectra[channel], spectra_[channel],
                            &products_[channel], &histories_[index][channel]);
        });
        SearchResult result = JoinChannels(found.left, found.right);
        result.offset =
            CoarseOffset(reference_.sampleRate, result.offset, segment.start, position_);
        result.segmentIndex = index;
        return result;
    }

    const SearchSetting& setting_;
    const ReferenceSet& reference_;
    long long position_ = 0;
    int read_ = 0;
    FrameBuffer frames_;
    ChannelPair<std::vector<float>> samples_;
    ChannelPair<float> norms_;
    ChannelPair<Spectrum> spectra_;
    ChannelPair<Spectrum> products_;
    std::vector<ChannelPair<Spectrum>> histories_;
    std::vector<SearchResult> results_;
};

/// The buffers of one thread that measures results in place.
class Refinement {
public:
    explicit Refinement(const SearchSetting& setting)
        : setting_(setting),
          reference_(setting.reference),
          frames_(2 * static_cast<std::size_t>(setting.reference.blockSize)) {}

    void Refine(SearchResult& result) {
        const ReferenceSegment& segment = reference_.segments[result.segmentIndex];
        const long long place = segment.start - result.offset;
        if (segment.start < 0 || place < 0) return;
        const int delivered = ReadFrames(setting_.mixer, setting_.longRecording, place,
                                         static_cast<int>(segment.length), frames_);
        if (delivered <= 0) return;
        SplitStereo(frames_.data(), delivered, 0, reference_.transformSize - delivered, samples_,
                    norms_);
        const Channel channel = result.channel;
        SpectrumOf(samples_[channel].data(), static_cast<unsigned int>(reference_.transformSize),
                   spectrum_);
        const SearchResult found =
            SearchBlock(channel, reference_.sampleRate, delivered, segment.norms[channel],
                        norms_[channel], segment.spectra[channel], spectrum_, &product_, nullptr);
        result.correlation = found.correlation;
        result.offset = RefinedOffset(result.offset, found.offset, setting_.swapped);
    }

private:
    const SearchSetting& setting_;
    const ReferenceSet& reference_;
    FrameBuffer frames_;
    ChannelPair<std::vector<float>> samples_;
    ChannelPair<float> norms_;
    Spectrum spectrum_;
    Spectrum product_;
};

}  // namespace

int ProgressTotal(long long longCount, int blockSize, std::size_t segmentCount) {
    const long long steps = (longCount / blockSize + 1) * static_cast<long long>(segmentCount);
    return zrtl::TruncToInt32(static_cast<double>(steps) * 1.1);
}

std::vector<SearchResult> SearchBlocks(const SearchSetting& setting, SearchProgress& progress) {
    return BlockSearch(setting).Run(progress);
}

void RefineCandidates(const SearchSetting& setting, std::vector<SearchResult>& results) {
    RunInParallel(
        results.size(),
        [&](unsigned long long first, unsigned long long end) {
            Refinement refinement(setting);
            for (unsigned long long i = first; i < end; ++i) {
                if (setting.Cancelled()) return;
                if (results[i].correlation != 0.0) refinement.Refine(results[i]);
            }
        },
        MIN_SLICE);
}

const SearchResult& BestOf(const std::vector<SearchResult>& results) {
    const SearchResult* best = &results.front();
    for (const SearchResult& result : results) {
        if (result.correlation > best->correlation) best = &result;
    }
    return *best;
}

}  // namespace orlo::sonrel::detail
