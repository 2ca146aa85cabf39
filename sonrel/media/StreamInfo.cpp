// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/StreamInfo.h"

#include <cmath>

#include "sonrel/base/Numbers.h"
#include "sonrel/base/Timing.h"
#include "sonrel/media/index/FileIndexer.h"
#include "sonrel/media/index/FrameCounter.h"

namespace zrh::media::detail {
namespace {

constexpr double MIN_FRAME_RATE = 1.0;
constexpr double MAX_FRAME_RATE = 1000.0;

MediaStreamKind KindOf(const AVStream& stream) {
    switch (stream.codecpar->codec_type) {
        case AVMEDIA_TYPE_AUDIO:
            return MediaStreamKind::Audio;
        case AVMEDIA_TYPE_VIDEO:
            return IsPicture(stream) ? MediaStreamKind::Video : MediaStreamKind::Cover;
        case AVMEDIA_TYPE_SUBTITLE:
            return MediaStreamKind::Subtitle;
        default:
            return MediaStreamKind::Other;
    }
}

ZRAudioCodec AudioCodecOf(AVCodecID codec) {
    if (IsPcm(codec)) return ZRAudioCodec::Pcm;
    switch (codec) {
        case AV_CODEC_ID_MP1:
        case AV_CODEC_ID_MP2:
        case AV_CODEC_ID_MP3:
            return ZRAudioCodec::Mpeg;
        case AV_CODEC_ID_AAC:
        case AV_CODEC_ID_AAC_LATM:
            return ZRAudioCodec::Aac;
        case AV_CODEC_ID_OPUS:
        case AV_CODEC_ID_VORBIS:
            return ZRAudioCodec::Ogg;
        default:
            break;
    }
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec);
    if (descriptor == nullptr) return ZRAudioCodec::Unknown;
    const bool lossless =
        (descriptor->props & AV_CODEC_PROP_LOSSLESS) != 0 &&
        (codec == AV_CODEC_ID_WAVPACK || (descriptor->props & AV_CODEC_PROP_LOSSY) == 0);
    return lossless ? ZRAudioCodec::Lossless : ZRAudioCodec::Other;
}

double RateOf(AVRational rate) {
    return rate.num > 0 && rate.den > 0 ? static_cast<double>(rate.num) / rate.den : 0.0;
}

/// Video frames per second; 0 if unknown or outside the limits.
double FrameRateOf(const AVStream& stream) {
    const double average = RateOf(stream.avg_frame_rate);
    const double nominal = RateOf(stream.r_frame_rate);
    // An average that was computed from rounded times differs slightly from the nominal rate.
    const bool isNominal = nominal > 0.0 && std::fabs(average - nominal) < nominal * 0.001;
    const double rate = average > 0.0 && !isNominal ? average : nominal;
    return rate >= MIN_FRAME_RATE && rate <= MAX_FRAME_RATE ? rate : 0.0;
}

/// Whether the times of the frames fit no constant rate. The nominal rate of interlaced pictures
/// may be the rate of the fields, twice the average.
bool HasVariableFrameRate(const AVStream& stream) {
    const double average = RateOf(stream.avg_frame_rate);
    const double nominal = RateOf(stream.r_frame_rate);
    if (average <= 0.0 || nominal <= 0.0) return false;
    const double ratio = nominal / average;
    return std::fabs(ratio - 1.0) >= 0.001 && std::fabs(ratio - 2.0) >= 0.002;
}

/// @return empty where the loudspeakers of the channels are unknown
std::string LayoutOf(const AVChannelLayout& layout) {
    char text[128] = {};
    if (layout.order == AV_CHANNEL_ORDER_UNSPEC) return {};
    return av_channel_layout_describe(&layout, text, sizeof(text)) > 0 ? text : std::string();
}

long long FrameCountOf(const AVFormatContext& context, const AVStream& stream, double rate) {
    if (stream.nb_frames > 0) return stream.nb_frames;
    const double seconds =
        stream.duration > 0    ? static_cast<double>(stream.duration) * av_q2d(stream.time_base)
        : context.duration > 0 ? static_cast<double>(context.duration) / AV_TIME_BASE
                               : 0.0;
    return zrtl::TruncToInt64(zrtl::RoundHalfAway(seconds * rate));
}

}  // namespace

std::string TagOf(const AVDictionary* tags, const char* name) {
    const AVDictionaryEntry* entry = av_dict_get(tags, name, nullptr, 0);
    return entry == nullptr ? std::string() : std::string(entry->value);
}

MediaStreamInfo InfoOf(const AVFormatContext& context, const AVStream& stream) {
    MediaStreamInfo info;
    info.kind = KindOf(stream);
    info.codec = avcodec_get_name(stream.codecpar->codec_id);
    info.language = TagOf(stream.metadata, "language");
    // The code for a language that is not determined.
    if (info.language == "und") info.language.clear();
    info.title = TagOf(stream.metadata, "title");
    info.timecode = TagOf(stream.metadata, "timecode");
    switch (info.kind) {
        case MediaStreamKind::Audio:
            info.audioCodec = AudioCodecOf(stream.codecpar->codec_id);
            info.layout = LayoutOf(stream.codecpar->ch_layout);
            break;
        case MediaStreamKind::Video:
            info.frameRate = FrameRateOf(stream);
            info.frameCount = FrameCountOf(context, stream, info.frameRate);
            info.hasVariableFrameRate = HasVariableFrameRate(stream);
            [[fallthrough]];
        case MediaStreamKind::Cover:
            info.width = stream.codecpar->width;
            info.height = stream.codecpar->height;
            break;
        default:
            if (!info.timecode.empty()) info.timecodeRate = RateOf(stream.avg_frame_rate);
            break;
    }
    return info;
}

}  // namespace zrh::media::detail
