// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/StereoConverter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <sys/mman.h>

namespace zrh::media::detail {
namespace {

/// More than a resampler takes for any two rates.
constexpr std::size_t RESAMPLER_BYTES = 32 << 20;

/// The resampler's library does not notice allocations that fail.
/// @throws std::bad_alloc
void RequireRoomForResampler() {
    void* const room = ::mmap(nullptr, RESAMPLER_BYTES, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED) throw std::bad_alloc();
    ::munmap(room, RESAMPLER_BYTES);
}

AVChannelLayout KnownLayout(std::uint64_t mask) {
    AVChannelLayout layout = {};
    av_channel_layout_from_mask(&layout, mask);
    return layout;
}

/// The assumed loudspeakers of a stream's channels.
AVChannelLayout LayoutForMix(const DecodedFormat& from, bool useMask) {
    AVChannelLayout layout = {};
    if (from.channels > 2 && useMask && from.layoutMask != 0) {
        return KnownLayout(from.layoutMask);
    }
    av_channel_layout_default(&layout, from.channels);
    return layout;
}

}  // namespace

MediaError StereoConverter::Open(const DecodedFormat& from, int rate) {
    from_ = from;
    if (from.channels < 1 || from.channels > MAX_CHANNELS) return MediaError::TooManyChannels;
    if (from.channels <= 2 && from.format == AV_SAMPLE_FMT_S16 && from.rate == rate) {
        return MediaError::None;
    }
    // If the declared loudspeakers cannot be mixed, the default layout of the channel count is
    // used.
    MediaError error = MediaError::TooManyChannels;
    for (const bool useMask : {true, false}) {
        const AVChannelLayout layout = LayoutForMix(from, useMask);
        if (layout.order != AV_CHANNEL_ORDER_NATIVE) continue;
        error = OpenSwr(from, rate, layout);
        if (error == MediaError::None) return error;
    }
    return error;
}

MediaError StereoConverter::OpenSwr(const DecodedFormat& from, int rate,
                                    const AVChannelLayout& layout) {
    AVChannelLayout source = layout;
    // One channel stays one here: mixing it up to two would lower it by 3 dB and compute in floats
    // without need.
    AVChannelLayout target =
        KnownLayout(from.channels == 1 ? AV_CH_LAYOUT_MONO : AV_CH_LAYOUT_STEREO);
    SwrContext* raw = nullptr;
    if (swr_alloc_set_opts2(&raw, &target, AV_SAMPLE_FMT_S16, rate, &source, from.format, from.rate,
                            0, nullptr) < 0) {
        return MediaError::OutOfMemory;
    }
    swr_.reset(raw);
    if (from.rate != rate) {
        RequireRoomForResampler();
        av_opt_set_int(raw, "resampler", SWR_ENGINE_SOXR, 0);
        av_opt_set_double(raw, "precision", 20, 0);
        // soxr adds dither to 16-bit results, from a generator that is seeded by the clock. With a
        // float result libswresample does the rounding and adds no dither.
        const AVSampleFormat packed = av_get_packed_sample_fmt(from.format);
        if (packed == AV_SAMPLE_FMT_U8 || packed == AV_SAMPLE_FMT_S16) {
            av_opt_set_sample_fmt(raw, "internal_sample_fmt", AV_SAMPLE_FMT_FLTP, 0);
        }
    }
    if (swr_init(raw) < 0) {
        swr_ = nullptr;
        return MediaError::TooManyChannels;
    }
    return MediaError::None;
}

bool StereoConverter::Convert(const SampleBlock& block, SampleBuffer* out) {
    const std::size_t values = 2 * static_cast<std::size_t>(block.frames);
    if (block.planes == nullptr) {
        if (swr_ != nullptr) return Run(Silence(block.frames), block.frames, out);
        std::memset(out->Room(values), 0, 2 * values);
        out->Fill(values);
        return true;
    }
    OffsetPlanes(from_, block, &planes_);
    if (swr_ != nullptr) return Run(planes_.data(), block.frames, out);
    TakeSamples(reinterpret_cast<const std::int16_t*>(planes_[0]), block.frames, out);
    return true;
}

void StereoConverter::TakeSamples(const std::int16_t* samples, int frames,
                                  SampleBuffer* out) const {
    const std::size_t count = static_cast<std::size_t>(frames);
    std::int16_t* to = out->Room(2 * count);
    if (from_.channels == 1) {
        for (std::size_t i = 0; i < count; ++i) to[2 * i] = to[2 * i + 1] = samples[i];
    } else {
        std::memcpy(to, samples, 4 * count);
    }
    out->Fill(2 * count);
}

bool StereoConverter::Flush(SampleBuffer* out) {
    if (swr_ == nullptr) return true;
    return Run(nullptr, 0, out);
}

bool StereoConverter::Run(const std::uint8_t* const* planes, int frames, SampleBuffer* out) {
    for (;;) {
        const int room = std::max(swr_get_out_samples(swr_.get(), frames), 0) + 64;
        const std::size_t frameRoom = static_cast<std::size_t>(room);
        const bool isMono = from_.channels == 1;
        if (isMono && mono_.size() < frameRoom) mono_.resize(frameRoom);
        std::int16_t* samples = isMono ? mono_.data() : out->Room(2 * frameRoom);
        auto* to = reinterpret_cast<std::uint8_t*>(samples);
        const int got =
            swr_convert(swr_.get(), &to, room, const_cast<const std::uint8_t**>(planes), frames);
        if (got == AVERROR(ENOMEM)) throw std::bad_alloc();
        if (got < 0) return false;
        if (isMono) {
            TakeSamples(samples, got, out);
        } else {
            out->Fill(2 * static_cast<std::size_t>(got));
        }
        // While flushing, more frames may follow a full buffer.
        if (planes != nullptr || got < room) return true;
    }
}

const std::uint8_t* const* StereoConverter::Silence(int frames) {
    const bool planar = av_sample_fmt_is_planar(from_.format) != 0;
    const AVSampleFormat packed = av_get_packed_sample_fmt(from_.format);
    const std::size_t bytes = static_cast<std::size_t>(frames) *
                              static_cast<std::size_t>(av_get_bytes_per_sample(packed)) *
                              static_cast<std::size_t>(planar ? 1 : from_.channels);
    silence_.assign(bytes, packed == AV_SAMPLE_FMT_U8 ? 0x80 : 0);
    planes_.assign(static_cast<std::size_t>(planar ? from_.channels : 1), silence_.data());
    return planes_.data();
}

}  // namespace zrh::media::detail
