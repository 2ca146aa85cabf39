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
/// The most channels whose samples can be read: what libswresample handles.
inline constexpr int MAX_CHANNELS = 64;

/// The samples as a stream's decoder gives them.
struct DecodedFormat {
    AVSampleFormat format = AV_SAMPLE_FMT_NONE;
    int rate = 0;
    int channels = 0;
    /// The loudspeakers of the channels, or 0 when they are not known.
    std::uint64_t layoutMask = 0;
    /// Bits of an integer sample that carry sound, or 0.
    int rawBits = 0;

    bool operator==(const DecodedFormat&) const = default;
};

/// The samples as a stream shows them: interleaved.
struct ViewFormat {
    ZRSampleDataType dataType = ZRSampleDataType::Integer;
    int bits = 16;
    /// The packed format of FFmpeg with the same numbers. Of 24 bits it is the 32-bit one, whose
    /// lowest byte is left out.
    AVSampleFormat packed = AV_SAMPLE_FMT_S16;

    int BytesPerSample() const { return bits / 8; }
};

/// Whether a decoder that gives @p format loses sound, so that its values are approximations.
bool IsLossy(AVCodecID codec, AVSampleFormat format);

/// How a stream of @p codec shows what its decoder gives. Lossy sound is shown in 16 bits, cut at
/// full scale: decoders overshoot it, and a peak beyond full scale means nothing there.
ViewFormat ViewOf(AVCodecID codec, const DecodedFormat& format);

/// A piece of decoded sound: @p frames frames from @p offset on in the planes (one plane when the
/// format is interleaved). Without planes it is silence.
struct SampleBlock {
    const std::uint8_t* const* planes = nullptr;
    int offset = 0;
    int frames = 0;
};

/// Turns decoded samples into the form of a view, frame for frame.
class ViewConverter {
public:
    ViewConverter(const DecodedFormat& from, const ViewFormat& to);

    /// Appends a piece to @p samples.
    void Append(const SampleBlock& block, std::vector<std::uint8_t>* samples);

private:
    void AppendSilence(int frames, std::vector<std::uint8_t>* samples) const;

    DecodedFormat from_;
    ViewFormat to_;
    SwrPtr swr_;
    std::vector<std::uint8_t> wide_;
    std::vector<const std::uint8_t*> planes_;
};

/// The planes of a block moved on by its offset.
void OffsetPlanes(const DecodedFormat& format, const SampleBlock& block,
                  std::vector<const std::uint8_t*>* planes);

}  // namespace zrh::media::detail
