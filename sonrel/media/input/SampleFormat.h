// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "sonrel/base/ZRMediaTypes.h"
#include "sonrel/media/input/Ffmpeg.h"

namespace zrh::media::detail {

inline constexpr int MIN_RATE = 64;
inline constexpr int MAX_RATE = 768000;
/// The limit of libswresample.
inline constexpr int MAX_CHANNELS = 64;

/// The format of the samples that a stream's decoder returns.
struct DecodedFormat {
    AVSampleFormat format = AV_SAMPLE_FMT_NONE;
    int rate = 0;
    int channels = 0;
    /// The loudspeakers of the channels; 0 if unknown.
    std::uint64_t layoutMask = 0;
    /// Significant bits of an integer sample, or 0.
    int rawBits = 0;

    bool operator==(const DecodedFormat&) const = default;
};

/// The format of the samples that a stream delivers to its user: interleaved.
struct ViewFormat {
    ZRSampleDataType dataType = ZRSampleDataType::Integer;
    int bits = 16;
    /// The packed FFmpeg format with the same values. For 24 bits it is the 32-bit format, whose
    /// lowest byte is dropped.
    AVSampleFormat packed = AV_SAMPLE_FMT_S16;

    int BytesPerSample() const { return bits / 8; }
};

/// Whether a codec is lossy when its decoder returns @p format.
bool IsLossy(AVCodecID codec, AVSampleFormat format);

/// The view of a decoded format. Lossy sound is delivered in 16 bits and clipped at full scale:
/// decoders overshoot, and a peak beyond full scale has no meaning there.
ViewFormat ViewOf(AVCodecID codec, const DecodedFormat& format);

/// A block of decoded sound: @p frames frames starting at @p offset in the planes (one plane when
/// the format is interleaved). Null planes are silence.
struct SampleBlock {
    const std::uint8_t* const* planes = nullptr;
    int offset = 0;
    int frames = 0;
};

/// Converts decoded samples to the format of a view, frame for frame.
class ViewConverter {
public:
    ViewConverter(const DecodedFormat& from, const ViewFormat& to);

    /// Appends a block to @p samples.
    void Append(const SampleBlock& block, std::vector<std::uint8_t>* samples);

private:
    void AppendSilence(int frames, std::vector<std::uint8_t>* samples) const;

    DecodedFormat from_;
    ViewFormat to_;
    SwrPtr swr_;
    std::vector<std::uint8_t> wide_;
    std::vector<const std::uint8_t*> planes_;
};

/// Expands samples of 24 bits to 32 bits, in the upper bytes.
/// @param wide  receives @p values samples
void WidenTo32Bits(const std::uint8_t* samples, std::size_t values,
                   std::vector<std::uint8_t>* wide);

/// Receives the planes of a block, advanced by its offset.
void OffsetPlanes(const DecodedFormat& format, const SampleBlock& block,
                  std::vector<const std::uint8_t*>* planes);

}  // namespace zrh::media::detail
