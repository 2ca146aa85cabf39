// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/DecodedSource.h"

#include <algorithm>

#include "sonrel/media/detail/AudioStream.h"
#include "sonrel/media/detail/ChosenSource.h"
#include "sonrel/media/detail/DecodedPackets.h"
#include "sonrel/media/detail/DownmixedStream.h"
#include "sonrel/media/index/PcmBytes.h"

namespace zrh::media::detail {
namespace {

constexpr int FRAMES_PER_STEP = 32768;

/// Reads uncompressed samples.
class DecodedPcm : public DecodedSource {
public:
    DecodedPcm(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index)
        : file_(file), index_(index), bytes_(std::move(file), std::move(index)) {}

    const DecodedFormat& Format() const override { return index_->format; }
    std::int64_t TotalFrames() const override { return index_->totalFrames; }

    void PreferFrames(std::int64_t frames) override { framesPerStep_ = frames; }

    MediaError Next(std::vector<SampleBlock>* blocks) override {
        blocks->clear();
        const std::int64_t left = index_->totalFrames - position_;
        if (left == 0) return MediaError::None;
        SampleBlock block;
        const int wanted = static_cast<int>(std::min(left, framesPerStep_));
        if (!bytes_.Decode(position_, wanted, &block) || block.frames != wanted) {
            return file_->IsInterrupted() ? MediaError::Cancelled : MediaError::ReadFailed;
        }
        position_ += wanted;
        blocks->push_back(block);
        return MediaError::None;
    }

private:
    std::shared_ptr<const InputFile> file_;
    std::shared_ptr<const StreamIndex> index_;
    PcmBytes bytes_;
    std::int64_t framesPerStep_ = FRAMES_PER_STEP;
    std::int64_t position_ = 0;
};

/// Reads a stream of another media library through the public interface.
class DecodedView : public DecodedSource {
public:
    explicit DecodedView(std::shared_ptr<ZRAbstractAudioStream> stream)
        : stream_(std::move(stream)) {
        format_.rate = stream_->SampleRate();
        format_.channels = stream_->ChannelCount();
        const bool isFloat = stream_->SampleDataType() == ZRSampleDataType::Float;
        switch (stream_->BitsPerSample()) {
            case 8:
                format_.format = isFloat ? AV_SAMPLE_FMT_NONE : AV_SAMPLE_FMT_U8;
                break;
            case 16:
                format_.format = isFloat ? AV_SAMPLE_FMT_NONE : AV_SAMPLE_FMT_S16;
                break;
            case 24:
            case 32:
                format_.format = isFloat ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_S32;
                break;
            case 64:
                format_.format = isFloat ? AV_SAMPLE_FMT_DBL : AV_SAMPLE_FMT_NONE;
                break;
            default:
                break;
        }
    }

    const DecodedFormat& Format() const override { return format_; }
    std::int64_t TotalFrames() const override { return stream_->SampleCount(); }

    MediaError Next(std::vector<SampleBlock>* blocks) override {
        blocks->clear();
        const std::int64_t left = stream_->SampleCount() - position_;
        if (left <= 0) return MediaError::None;
        const int wanted = static_cast<int>(std::min<std::int64_t>(left, FRAMES_PER_STEP));
        const int bytesPerSample = stream_->BitsPerSample() / 8;
        bytes_.resize(static_cast<std::size_t>(wanted) *
                      static_cast<std::size_t>(bytesPerSample * format_.channels));
        int got = 0;
        if (stream_->GetSamples(position_, wanted, bytes_.data(), static_cast<int>(bytes_.size()),
                                &got) != 0 ||
            got < 1 || got > wanted) {
            return MediaError::ReadFailed;
        }
        position_ += got;
        plane_ = bytes_.data();
        if (bytesPerSample == 3) {
            WidenTo32Bits(
                bytes_.data(),
                static_cast<std::size_t>(got) * static_cast<std::size_t>(format_.channels), &wide_);
            plane_ = wide_.data();
        }
        blocks->push_back({&plane_, 0, got});
        return MediaError::None;
    }

private:
    std::shared_ptr<ZRAbstractAudioStream> stream_;
    DecodedFormat format_;
    std::int64_t position_ = 0;
    std::vector<std::uint8_t> bytes_;
    std::vector<std::uint8_t> wide_;
    const std::uint8_t* plane_ = nullptr;
};

}  // namespace

MediaError NewDecodedSource(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                            std::unique_ptr<DecodedSource>* source) {
    if (const auto chosen = std::dynamic_pointer_cast<ChosenStream>(stream)) {
        return NewChosenSource(chosen->Channels(), source);
    }
    if (const auto mixed = std::dynamic_pointer_cast<DownmixedStream>(stream)) {
        // The conversion to stereo mixes it down.
        return NewDecodedSource(mixed->Source(), source);
    }
    const auto own = std::dynamic_pointer_cast<AudioStream>(stream);
    if (own == nullptr) {
        if (stream->StreamType() != 0) return MediaError::NotAudio;
        auto view = std::make_unique<DecodedView>(stream);
        if (view->Format().format == AV_SAMPLE_FMT_NONE) return MediaError::Undecodable;
        *source = std::move(view);
        return MediaError::None;
    }
    if (own->Error() != MediaError::None) return own->Error();
    if (own->Index()->pcm.has_value()) {
        *source = std::make_unique<DecodedPcm>(own->File(), own->Index());
    } else {
        *source = NewDecodedPackets(own->File(), own->Index());
    }
    return MediaError::None;
}

}  // namespace zrh::media::detail
