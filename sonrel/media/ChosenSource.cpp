// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/ChosenSource.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

namespace zrh::media::detail {
namespace {

/// The samples of one channel that are decoded and not yet delivered.
struct Lane {
    const AudioStream* stream = nullptr;  ///< null for silence
    int channel = 0;
    std::vector<std::uint8_t> bytes;
};

/// Decodes the streams of a choice, each once, and copies the chosen channels.
class ChosenSource : public DecodedSource {
public:
    explicit ChosenSource(const ChosenChannels& channels) {
        AddLane(channels.left);
        if (!channels.IsMono()) AddLane(channels.right);
    }

    MediaError Open(const ChosenChannels& channels) {
        for (const ChosenChannel* side : {&channels.left, &channels.right}) {
            if (side->stream == nullptr || HasFeed(side->stream.get())) continue;
            Feed feed;
            feed.stream = side->stream.get();
            const MediaError error = NewDecodedSource(side->stream, &feed.source);
            if (error != MediaError::None) return error;
            feeds_.push_back(std::move(feed));
        }
        const DecodedFormat& first = feeds_.front().source->Format();
        format_ = first;
        format_.format = av_get_packed_sample_fmt(first.format);
        format_.channels = static_cast<int>(lanes_.size());
        format_.layoutMask = 0;
        bytesPerSample_ = static_cast<std::size_t>(av_get_bytes_per_sample(format_.format));
        for (const Feed& feed : feeds_) {
            totalFrames_ = std::max(totalFrames_, feed.source->TotalFrames());
            const AVSampleFormat packed = av_get_packed_sample_fmt(feed.source->Format().format);
            if (packed != format_.format) return MediaError::StreamsDiffer;
        }
        return MediaError::None;
    }

    const DecodedFormat& Format() const override { return format_; }
    std::int64_t TotalFrames() const override { return totalFrames_; }
    std::string Reason() const override { return reason_; }

    MediaError Next(std::vector<SampleBlock>* blocks) override {
        blocks->clear();
        for (Feed& feed : feeds_) {
            const MediaError error = FillLanesOf(feed);
            if (error != MediaError::None) return error;
        }
        std::size_t bytes = 0;
        for (const Lane& lane : lanes_) {
            if (lane.bytes.empty()) continue;
            bytes = bytes == 0 ? lane.bytes.size() : std::min(bytes, lane.bytes.size());
        }
        if (bytes == 0) return MediaError::None;
        blocks->push_back({&plane_, 0, Interleave(bytes)});
        return MediaError::None;
    }

private:
    struct Feed {
        const AudioStream* stream = nullptr;
        std::unique_ptr<DecodedSource> source;
        bool hasEnded = false;
    };

    void AddLane(const ChosenChannel& side) {
        lanes_.push_back({side.stream.get(), side.channel, {}});
    }

    bool HasFeed(const AudioStream* stream) const {
        return std::any_of(feeds_.begin(), feeds_.end(),
                           [&](const Feed& feed) { return feed.stream == stream; });
    }

    /// The lanes of a feed always have the same length.
    bool HasEmptyLane(const Feed& feed) const {
        return std::any_of(lanes_.begin(), lanes_.end(), [&](const Lane& lane) {
            return lane.stream == feed.stream && lane.bytes.empty();
        });
    }

    MediaError FillLanesOf(Feed& feed) {
        while (!feed.hasEnded && HasEmptyLane(feed)) {
            const MediaError error = feed.source->Next(&decoded_);
            if (error != MediaError::None) {
                reason_ = feed.source->Reason();
                return error;
            }
            feed.hasEnded = decoded_.empty();
            for (const SampleBlock& block : decoded_) {
                for (Lane& lane : lanes_) {
                    if (lane.stream == feed.stream) Append(feed.source->Format(), block, lane);
                }
            }
        }
        return MediaError::None;
    }

    void Append(const DecodedFormat& format, const SampleBlock& block, Lane& lane) const {
        const std::size_t old = lane.bytes.size();
        const auto frames = static_cast<std::size_t>(block.frames);
        lane.bytes.resize(old + frames * bytesPerSample_, SilentByte());
        if (block.planes == nullptr) return;
        const bool isPlanar = av_sample_fmt_is_planar(format.format) != 0;
        const auto channel = static_cast<std::size_t>(lane.channel - 1);
        const std::size_t step =
            bytesPerSample_ * static_cast<std::size_t>(isPlanar ? 1 : format.channels);
        const std::uint8_t* from = block.planes[isPlanar ? channel : 0] +
                                   step * static_cast<std::size_t>(block.offset) +
                                   (isPlanar ? 0 : channel * bytesPerSample_);
        std::uint8_t* to = lane.bytes.data() + old;
        for (std::size_t i = 0; i < frames; ++i, from += step, to += bytesPerSample_) {
            std::memcpy(to, from, bytesPerSample_);
        }
    }

    /// Moves samples from the lanes into the block that is delivered. An empty lane is silent.
    /// @return frames
    int Interleave(std::size_t bytes) {
        const std::size_t step = bytesPerSample_ * lanes_.size();
        interleaved_.assign(bytes * lanes_.size(), SilentByte());
        for (std::size_t position = 0; position < lanes_.size(); ++position) {
            std::vector<std::uint8_t>& lane = lanes_[position].bytes;
            if (lane.empty()) continue;
            std::uint8_t* to = interleaved_.data() + position * bytesPerSample_;
            for (std::size_t at = 0; at < bytes; at += bytesPerSample_, to += step) {
                std::memcpy(to, lane.data() + at, bytesPerSample_);
            }
            lane.erase(lane.begin(), lane.begin() + static_cast<std::ptrdiff_t>(bytes));
        }
        plane_ = interleaved_.data();
        return static_cast<int>(bytes / bytesPerSample_);
    }

    std::uint8_t SilentByte() const { return format_.format == AV_SAMPLE_FMT_U8 ? 0x80 : 0; }

    std::vector<Lane> lanes_;  ///< one for each channel of the result
    std::vector<Feed> feeds_;  ///< one for each stream
    DecodedFormat format_;
    std::size_t bytesPerSample_ = 0;
    std::int64_t totalFrames_ = 0;
    std::string reason_;
    std::vector<SampleBlock> decoded_;
    std::vector<std::uint8_t> interleaved_;
    const std::uint8_t* plane_ = nullptr;
};

}  // namespace

MediaError NewChosenSource(const ChosenChannels& channels, std::unique_ptr<DecodedSource>* source) {
    const MediaError wrong = channels.Error();
    if (wrong != MediaError::None) return wrong;
    auto chosen = std::make_unique<ChosenSource>(channels);
    const MediaError error = chosen->Open(channels);
    if (error == MediaError::None) *source = std::move(chosen);
    return error;
}

}  // namespace zrh::media::detail
