// SPDX-License-Identifier: MIT
#include "sonrel/media/input/PacketDecoder.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include <new>

namespace zrh::media::detail {
namespace {

/// FFmpeg's default decoder, except for MPEG layers 1 and 2: their default decoder adds noise from
/// a generator that is never reset.
const AVCodec* FindDecoder(AVCodecID codec) {
    const AVCodec* decoder = nullptr;
    if (codec == AV_CODEC_ID_MP1) decoder = avcodec_find_decoder_by_name("mp1float");
    if (codec == AV_CODEC_ID_MP2) decoder = avcodec_find_decoder_by_name("mp2float");
    return decoder != nullptr ? decoder : avcodec_find_decoder(codec);
}

/// A lack of memory is not damage of the file and must not become silence.
/// @throws std::bad_alloc
int RequireMemory(int result) {
    if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
    return result;
}

}  // namespace

std::unique_ptr<PacketDecoder> PacketDecoder::Open(const AVCodecParameters& parameters,
                                                   AVRational timeBase) {
    const AVCodec* decoder = FindDecoder(parameters.codec_id);
    if (decoder == nullptr) return nullptr;
    std::unique_ptr<PacketDecoder> opened(new PacketDecoder);
    opened->context_ = OwnOrThrow<CodecContextPtr>(avcodec_alloc_context3(decoder));
    AVCodecContext* context = opened->context_.get();
    if (avcodec_parameters_to_context(context, &parameters) < 0) return nullptr;
    context->pkt_timebase = timeBase;
    context->thread_count = 1;
    context->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    if (RequireMemory(avcodec_open2(context, decoder, nullptr)) < 0) return nullptr;
    return opened;
}

bool PacketDecoder::Decode(const AVPacket* packet) {
    frameCount_ = 0;
    bool whole = RequireMemory(avcodec_send_packet(context_.get(), packet)) >= 0;
    // After an error the decoder drops the packet and returns EAGAIN next. The bound is for a
    // decoder that does not.
    for (int errors = 0; errors < 64;) {
        if (frames_.size() == static_cast<std::size_t>(frameCount_)) frames_.push_back(NewFrame());
        AVFrame* frame = frames_[static_cast<std::size_t>(frameCount_)].get();
        const int result = RequireMemory(avcodec_receive_frame(context_.get(), frame));
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) break;
        if (result < 0) {
            whole = false;
            ++errors;
        } else if (frame->nb_samples > 0) {
            ++frameCount_;
        }
    }
    return whole;
}

std::int64_t PacketDecoder::DecodedFrames() const {
    std::int64_t sum = 0;
    for (int i = 0; i < frameCount_; ++i) sum += Frame(i).nb_samples;
    return sum;
}

std::uint32_t PacketDecoder::DecoderSkip() const {
    for (int i = 0; i < frameCount_; ++i) {
        const AVFrameSideData* data = av_frame_get_side_data(&Frame(i), AV_FRAME_DATA_SKIP_SAMPLES);
        if (data == nullptr || data->size < 10) continue;
        const std::uint32_t skip = AV_RL32(data->data);
        if (skip > 0) return skip;
    }
    return 0;
}

DecodedFormat PacketDecoder::FormatOf(const AVFrame& frame) const {
    const AVChannelLayout& layout = frame.ch_layout;
    return {static_cast<AVSampleFormat>(frame.format), frame.sample_rate, layout.nb_channels,
            layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0,
            context_->bits_per_raw_sample};
}

}  // namespace zrh::media::detail
