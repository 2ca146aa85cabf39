// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/DecodedPackets.h"

#include <algorithm>
#include <optional>

#include "sonrel/media/detail/DecoderThreads.h"
#include "sonrel/media/detail/PartsInOrder.h"
#include "sonrel/media/index/SilenceLimit.h"

namespace zrh::media::detail {
namespace {

/// More threads decode faster than one thread resamples and writes, and each needs address space.
constexpr int MAX_THREADS = 4;
constexpr int LEAD_FRAMES_PER_STEP = 32768;

/// Whether decoders that start at any packet return the samples of one decoder of the stream.
bool CanStartAnywhere(const StreamIndex& index) {
    // The decoder of WavPack filters the samples of DSD, which it returns as floats.
    const AVSampleFormat packed = av_get_packed_sample_fmt(index.format.format);
    const bool isInteger = packed != AV_SAMPLE_FMT_FLT && packed != AV_SAMPLE_FMT_DBL;
    return index.traits.independent && index.packets.IsDirect() && isInteger;
}

int ThreadsFor(const StreamIndex& index) {
    if (!IsWorthThreads(index.totalFrames, index.format.rate)) return 0;
    return CanStartAnywhere(index) ? MAX_THREADS : 1;
}

class DecodedPackets : public DecodedSource {
public:
    DecodedPackets(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index)
        : file_(std::move(file)),
          index_(std::move(index)),
          partCount_(PacketParts(index_).Count()) {}

    const DecodedFormat& Format() const override { return index_->format; }
    std::int64_t TotalFrames() const override { return index_->totalFrames; }

    MediaError Next(std::vector<SampleBlock>* blocks) override {
        blocks->clear();
        if (file_->IsInterrupted()) return MediaError::Cancelled;
        if (lead_ < index_->leadFrames) return NextOfLead(blocks);
        while (blocks->empty() && nextPart_ < partCount_) {
            const DecodedPart& part = NextPart();
            CountSilence(part);
            if (HasTooMuchSilence()) return MediaError::TooMuchSilence;
            if (part.error != MediaError::None) return part.error;
            *blocks = part.blocks;
        }
        return MediaError::None;
    }

    std::string Reason() const override {
        return HasTooMuchSilence() ? SilenceRefusal(silent_, file_->Size()) : std::string();
    }

private:
    MediaError NextOfLead(std::vector<SampleBlock>* blocks) {
        const std::int64_t silent =
            std::min<std::int64_t>(index_->leadFrames - lead_, LEAD_FRAMES_PER_STEP);
        blocks->push_back({nullptr, 0, static_cast<int>(silent)});
        lead_ += silent;
        silent_ += silent;
        return HasTooMuchSilence() ? MediaError::TooMuchSilence : MediaError::None;
    }

    const DecodedPart& NextPart() {
        if (!parts_) {
            const int threads = ThreadsFor(*index_);
            Decode(threads > 1 ? CursorMode::Segments : CursorMode::Straight, threads);
        }
        const DecodedPart* part = &parts_->Next();
        if (mode_ == CursorMode::Segments && !part->silences.empty()) {
            Decode(CursorMode::Straight, 1);
            part = &parts_->Next();
        }
        ++nextPart_;
        return *part;
    }

    /// Decodes from the next part on.
    void Decode(CursorMode mode, int threads) {
        mode_ = mode;
        parts_.reset();
        threads_.reset();
        threads_.emplace(threads);
        parts_.emplace(file_, index_, mode, nextPart_, threads_->Count());
    }

    /// Stops counting at the limit, whose text has the frames so far.
    void CountSilence(const DecodedPart& part) {
        for (const std::int64_t frames : part.silences) {
            if (HasTooMuchSilence()) return;
            silent_ += frames;
        }
    }
    bool HasTooMuchSilence() const { return silent_ > MaxSilentFrames(file_->Size()); }

    std::shared_ptr<const InputFile> file_;
    std::shared_ptr<const StreamIndex> index_;
    std::int64_t partCount_;
    std::int64_t lead_ = 0;
    std::int64_t silent_ = 0;
    std::int64_t nextPart_ = 0;
    CursorMode mode_ = CursorMode::Straight;
    std::optional<DecoderThreads> threads_;
    std::optional<PartsInOrder> parts_;
};

}  // namespace

std::unique_ptr<DecodedSource> NewDecodedPackets(std::shared_ptr<const InputFile> file,
                                                 std::shared_ptr<const StreamIndex> index) {
    return std::make_unique<DecodedPackets>(std::move(file), std::move(index));
}

}  // namespace zrh::media::detail
