// SPDX-License-Identifier: MIT
#include "sonrel/media/index/FrameCounter.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace zrh::media::detail {

bool IsPcm(AVCodecID codec) {
    if (av_get_exact_bits_per_sample(codec) <= 0) return false;
    return std::string_view(avcodec_get_name(codec)).substr(0, 4) == "pcm_";
}

CodecTraits TraitsOf(AVCodecID codec) {
    if (IsPcm(codec)) return {0, true, true, true};
    switch (codec) {
        case AV_CODEC_ID_ADPCM_IMA_WAV:
        case AV_CODEC_ID_ADPCM_MS:
        case AV_CODEC_ID_ALAC:
        case AV_CODEC_ID_FLAC:
        case AV_CODEC_ID_WAVPACK:
            return {0, true, true, true};
        case AV_CODEC_ID_APE:
        case AV_CODEC_ID_TAK:
        case AV_CODEC_ID_TTA:
            return {0, true, false, true};
        case AV_CODEC_ID_MLP:
        case AV_CODEC_ID_TRUEHD:
            return {0, false, false, true};
        case AV_CODEC_ID_AAC:
        case AV_CODEC_ID_AAC_LATM:
        case AV_CODEC_ID_AC3:
        case AV_CODEC_ID_DTS:
        case AV_CODEC_ID_EAC3:
        case AV_CODEC_ID_MP1:
        case AV_CODEC_ID_MP2:
        case AV_CODEC_ID_MP3:
        case AV_CODEC_ID_VORBIS:
            return {16, false, true, true};
        case AV_CODEC_ID_WMAV1:
        case AV_CODEC_ID_WMAV2:
            return {16, false, false, true};
        case AV_CODEC_ID_OPUS:
            return {128, false, true, true};
        default:
            return {16, false, false, false};
    }
}

namespace {

/// Whether the frames of a packet are counted in its header, instead of following from its size or
/// the codec.
bool NeedsParser(AVCodecID codec) {
    switch (codec) {
        case AV_CODEC_ID_AC3:
        case AV_CODEC_ID_DTS:
        case AV_CODEC_ID_EAC3:
        case AV_CODEC_ID_FLAC:
        case AV_CODEC_ID_OPUS:
        case AV_CODEC_ID_VORBIS:
            return true;
        default:
            return false;
    }
}

}  // namespace

FrameCounter::FrameCounter(const AVCodecParameters& parameters, AVRational timeBase)
    : parameters_(parameters),
      timeIsInSamples_(parameters.sample_rate > 0 && timeBase.num == 1 &&
                       timeBase.den == parameters.sample_rate) {
    if (!NeedsParser(parameters.codec_id)) return;
    parser_.reset(av_parser_init(parameters.codec_id));
    if (parser_ == nullptr) return;
    parser_->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    parserContext_ = OwnOrThrow<CodecContextPtr>(avcodec_alloc_context3(nullptr));
    if (avcodec_parameters_to_context(parserContext_.get(), &parameters) < 0) parser_ = nullptr;
}

std::uint32_t FrameCounter::FramesOf(const AVPacket& packet) {
    const AVCodecID codec = parameters_.codec_id;
    std::int64_t frames = 0;
    if (codec == AV_CODEC_ID_ALAC || codec == AV_CODEC_ID_WAVPACK) {
        frames = timeIsInSamples_ ? packet.duration : 0;
    } else if (parser_ != nullptr) {
        std::uint8_t* out = nullptr;
        int outSize = 0;
        av_parser_parse2(parser_.get(), parserContext_.get(), &out, &outSize, packet.data,
                         packet.size, packet.pts, packet.dts, packet.pos);
        frames = parser_->duration;
    }
    if (frames <= 0) {
        frames =
            av_get_audio_frame_duration2(const_cast<AVCodecParameters*>(&parameters_), packet.size);
    }
    return static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(frames, 0, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace zrh::media::detail
