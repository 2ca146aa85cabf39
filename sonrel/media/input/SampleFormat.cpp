// SPDX-License-Identifier: MIT
#include "sonrel/media/input/SampleFormat.h"

#include <algorithm>

#include <cstring>
#include <stdexcept>

namespace zrh::media::detail {
namespace {

bool IsFloat(AVSampleFormat format) {
    const AVSampleFormat packed = av_get_packed_sample_fmt(format);
    return packed == AV_SAMPLE_FMT_FLT || packed == AV_SAMPLE_FMT_DBL;
}

/// A converter between two sample formats that keeps the channels. The channels are declared
/// without loudspeakers, so that nothing is mixed.
SwrPtr NewFormatConverter(const DecodedFormat& from, AVSampleFormat to) {
    AVChannelLayout layout = {};
    layout.order = AV_CHANNEL_ORDER_UNSPEC;
    layout.nb_channels = from.channels;
    SwrContext* raw = nullptr;
    if (swr_alloc_set_opts2(&raw, &layout, to, from.rate, &layout, from.format, from.rate, 0,
                            nullptr) < 0) {
        throw std::bad_alloc();
    }
    SwrPtr swr(raw);
    if (swr_init(swr.get()) < 0) throw std::runtime_error("Cannot convert the sample format");
    return swr;
}

/// Appends the upper three bytes of each 32-bit sample.
void AppendPacked24(const std::uint8_t* wide, std::size_t count, std::vector<std::uint8_t>* out) {
    const std::size_t start = out->size();
    out->resize(start + 3 * count);
    std::uint8_t* to = out->data() + start;
    for (std::size_t i = 0; i < count; ++i) {
        to[3 * i] = wide[4 * i + 1];
        to[3 * i + 1] = wide[4 * i + 2];
        to[3 * i + 2] = wide[4 * i + 3];
    }
}

}  // namespace

bool IsLossy(AVCodecID codec, AVSampleFormat format) {
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec);
    if (descriptor == nullptr || (descriptor->props & AV_CODEC_PROP_LOSSY) == 0) return false;
    if ((descriptor->props & AV_CODEC_PROP_LOSSLESS) == 0) return true;
    // The decoder of a codec with lossy and lossless streams returns floats for the lossy streams
    // only. WavPack is the exception: it stores floats without loss.
    return codec != AV_CODEC_ID_WAVPACK && IsFloat(format);
}

ViewFormat ViewOf(AVCodecID codec, const DecodedFormat& format) {
    const AVSampleFormat packed = av_get_packed_sample_fmt(format.format);
    if (packed == AV_SAMPLE_FMT_U8) return {ZRSampleDataType::Integer, 8, AV_SAMPLE_FMT_U8};
    if (IsLossy(codec, format.format)) return {ZRSampleDataType::Integer, 16, AV_SAMPLE_FMT_S16};
    switch (packed) {
        case AV_SAMPLE_FMT_S32:
            return {ZRSampleDataType::Integer, format.rawBits == 24 ? 24 : 32, AV_SAMPLE_FMT_S32};
        case AV_SAMPLE_FMT_FLT:
            return {ZRSampleDataType::Float, 32, AV_SAMPLE_FMT_FLT};
        case AV_SAMPLE_FMT_DBL:
        case AV_SAMPLE_FMT_S64:
            return {ZRSampleDataType::Float, 64, AV_SAMPLE_FMT_DBL};
        default:
            return {ZRSampleDataType::Integer, 16, AV_SAMPLE_FMT_S16};
    }
}

void WidenTo32Bits(const std::uint8_t* samples, std::size_t values,
                   std::vector<std::uint8_t>* wide) {
    wide->assign(4 * values, 0);
    for (std::size_t i = 0; i < values; ++i) {
        std::copy_n(samples + 3 * i, 3, wide->data() + 4 * i + 1);
    }
}

void OffsetPlanes(const DecodedFormat& format, const SampleBlock& block,
                  std::vector<const std::uint8_t*>* planes) {
    const bool planar = av_sample_fmt_is_planar(format.format) != 0;
    const std::size_t bytes = static_cast<std::size_t>(av_get_bytes_per_sample(format.format)) *
                              static_cast<std::size_t>(planar ? 1 : format.channels);
    planes->resize(static_cast<std::size_t>(planar ? format.channels : 1));
    for (std::size_t i = 0; i < planes->size(); ++i) {
        (*planes)[i] = block.planes[i] + bytes * static_cast<std::size_t>(block.offset);
    }
}

ViewConverter::ViewConverter(const DecodedFormat& from, const ViewFormat& to)
    : from_(from), to_(to) {
    if (from_.format != to_.packed) swr_ = NewFormatConverter(from_, to_.packed);
}

void ViewConverter::AppendSilence(int frames, std::vector<std::uint8_t>* samples) const {
    const std::uint8_t silence = to_.packed == AV_SAMPLE_FMT_U8 ? 0x80 : 0;
    samples->resize(samples->size() + static_cast<std::size_t>(frames) *
                                          static_cast<std::size_t>(from_.channels) *
                                          static_cast<std::size_t>(to_.BytesPerSample()),
                    silence);
}

void ViewConverter::Append(const SampleBlock& block, std::vector<std::uint8_t>* samples) {
    if (block.planes == nullptr) return AppendSilence(block.frames, samples);
    OffsetPlanes(from_, block, &planes_);
    const std::size_t values =
        static_cast<std::size_t>(block.frames) * static_cast<std::size_t>(from_.channels);
    const std::size_t wideBytes =
        values * static_cast<std::size_t>(av_get_bytes_per_sample(to_.packed));

    const std::uint8_t* wide = planes_[0];
    if (swr_ != nullptr) {
        // Nothing is resampled, so each call returns all frames that it received.
        wide_.resize(wideBytes);
        std::uint8_t* out = wide_.data();
        const int got = swr_convert(swr_.get(), &out, block.frames, planes_.data(), block.frames);
        if (got != block.frames) throw std::runtime_error("Cannot convert the sample format");
        wide = wide_.data();
    }
    if (to_.bits == 24) {
        AppendPacked24(wide, values, samples);
    } else {
        samples->insert(samples->end(), wide, wide + wideBytes);
    }
}

}  // namespace zrh::media::detail
