// SPDX-License-Identifier: MIT
#include "sonrel/media/index/PacketCursor.h"

#include <algorithm>

namespace zrh::media::detail {
namespace {

AVChannelLayout LayoutOf(const DecodedFormat& format) {
    AVChannelLayout layout = {};
    if (format.layoutMask != 0) {
        av_channel_layout_from_mask(&layout, format.layoutMask);
    } else {
        av_channel_layout_default(&layout, format.channels);
    }
    return layout;
}

}  // namespace

PacketCursor::PacketCursor(std::shared_ptr<const InputFile> file,
                           std::shared_ptr<const StreamIndex> index, CursorMode mode)
    : index_(std::move(index)),
      source_(NewPacketSource(std::move(file), index_)),
      mode_(mode),
      packet_(NewPacket()) {}

bool PacketCursor::MoveTo(std::int64_t packet) {
    if (decoder_ != nullptr && packet >= position_ && packet < segmentEnd_) {
        if (index_->traits.independent) position_ = packet;
    } else if (!Restart(packet)) {
        return false;
    }
    while (position_ < packet) {
        if (!FetchAndDecode(position_)) return false;
        ++position_;
    }
    return true;
}

bool PacketCursor::Restart(std::int64_t packet) {
    decoder_ = PacketDecoder::Open(*index_->parameters, index_->timeBase);
    if (decoder_ == nullptr) return false;
    const PacketIndex& packets = index_->packets;
    if (mode_ == CursorMode::Straight) {
        position_ = packet;
        segmentEnd_ = packets.PacketCount();
        return true;
    }
    const std::size_t index = packets.SegmentOf(packet);
    const Segment& segment = packets.Segments()[index];
    segmentEnd_ = index + 1 < packets.Segments().size() ? packets.Segments()[index + 1].firstPacket
                                                        : packets.PacketCount();
    position_ = index_->traits.independent ? packet : segment.firstPacket;
    for (std::int64_t i = segment.prerollPacket; i < segment.firstPacket; ++i) {
        if (!FetchAndDecode(i)) return false;
    }
    return true;
}

bool PacketCursor::FetchAndDecode(std::int64_t packet) {
    av_packet_unref(packet_.get());
    if (!source_->Fetch(packet, packet_.get())) {
        decoder_ = nullptr;
        return false;
    }
    decoder_->Decode(packet_.get());
    return true;
}

bool PacketCursor::Next(std::vector<SampleBlock>* blocks) {
    blocks->clear();
    if (decoder_ == nullptr || position_ >= segmentEnd_) {
        if (!Restart(position_)) return false;
    }
    if (!FetchAndDecode(position_)) return false;

    frames_.clear();
    drained_.clear();
    for (int i = 0; i < decoder_->FrameCount(); ++i) frames_.push_back(&decoder_->Frame(i));
    if (position_ + 1 == index_->packets.PacketCount()) DrainAfterLastPacket();
    Slice(index_->packets.SpanOf(position_), blocks);
    ++position_;
    return true;
}

void PacketCursor::DrainAfterLastPacket() {
    // Draining overwrites the decoder's frames: the frames of the last packet are moved first.
    for (const AVFrame*& frame : frames_) {
        drained_.push_back(NewFrame());
        if (av_frame_ref(drained_.back().get(), frame) < 0) throw std::bad_alloc();
        frame = drained_.back().get();
    }
    decoder_->Decode(nullptr);
    for (int i = 0; i < decoder_->FrameCount(); ++i) frames_.push_back(&decoder_->Frame(i));
    segmentEnd_ = position_;
}

void PacketCursor::Slice(const PacketSpan& span, std::vector<SampleBlock>* blocks) {
    std::int64_t skip = span.skip;
    std::int64_t left = span.length;
    for (std::size_t i = 0; i < frames_.size() && left > 0; ++i) {
        const std::int64_t frames = frames_[i]->nb_samples;
        const std::int64_t offset = std::min(skip, frames);
        skip -= offset;
        const std::int64_t taken = std::min(frames - offset, left);
        if (taken == 0) continue;
        left -= taken;
        const AVFrame* frame = InFormat(*frames_[i], i);
        blocks->push_back({frame == nullptr ? nullptr : frame->extended_data,
                           static_cast<int>(offset), static_cast<int>(taken)});
    }
    if (left > 0) blocks->push_back({nullptr, 0, static_cast<int>(left)});
}

/// Makes the adapter for frames of another format than that of the index.
/// @return whether such frames can be converted
bool PacketCursor::PrepareAdapter(const DecodedFormat& got) {
    if (got == adapterFrom_) return adapter_ != nullptr;
    const DecodedFormat& wanted = index_->format;
    AVChannelLayout from = LayoutOf(got);
    AVChannelLayout to = LayoutOf(wanted);
    SwrContext* raw = nullptr;
    if (swr_alloc_set_opts2(&raw, &to, wanted.format, wanted.rate, &from, got.format, got.rate, 0,
                            nullptr) < 0) {
        throw std::bad_alloc();
    }
    adapter_.reset(raw);
    adapterFrom_ = got;
    if (swr_init(raw) < 0) adapter_ = nullptr;
    return adapter_ != nullptr;
}

const AVFrame* PacketCursor::InFormat(const AVFrame& frame, std::size_t number) {
    const DecodedFormat& wanted = index_->format;
    DecodedFormat got = decoder_->FormatOf(frame);
    got.rawBits = wanted.rawBits;
    if (got.format == wanted.format && got.channels == wanted.channels && got.rate == wanted.rate) {
        return &frame;
    }
    // A stream may change its channels or its sample format. A change of the rate would shift all
    // frames after it: such a packet is silence.
    if (got.rate != wanted.rate || got.channels < 1 || got.channels > MAX_CHANNELS) return nullptr;
    if (!PrepareAdapter(got)) return nullptr;
    if (adapted_.size() <= number) adapted_.resize(number + 1);
    FramePtr& out = adapted_[number];
    out = NewFrame();
    out->format = wanted.format;
    out->sample_rate = wanted.rate;
    out->nb_samples = frame.nb_samples;
    out->ch_layout = LayoutOf(wanted);
    if (av_frame_get_buffer(out.get(), 0) < 0) throw std::bad_alloc();
    const int done =
        swr_convert(adapter_.get(), out->extended_data, frame.nb_samples,
                    const_cast<const std::uint8_t**>(frame.extended_data), frame.nb_samples);
    return done == frame.nb_samples ? out.get() : nullptr;
}

}  // namespace zrh::media::detail
