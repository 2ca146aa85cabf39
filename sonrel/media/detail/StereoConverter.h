// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/media/input/SampleFormat.h"

namespace zrh::media::detail {

/// Samples to be written.
class SampleBuffer {
public:
    /// Room for @p values more values after the existing values.
    std::int16_t* Room(std::size_t values) {
        if (values_.size() < used_ + values) values_.resize(used_ + values);
        return values_.data() + used_;
    }
    /// Appends the first @p values values of the room.
    void Fill(std::size_t values) { used_ += values; }
    /// Replaces all values. The new values may be a later part of the same buffer.
    void Assign(const std::int16_t* values, std::size_t count) {
        used_ = 0;
        std::copy_n(values, count, Room(count));
        Fill(count);
    }
    void Clear() { used_ = 0; }

    const std::int16_t* Data() const { return values_.data(); }
    std::size_t Size() const { return used_; }

private:
    std::vector<std::int16_t> values_;
    std::size_t used_ = 0;
};

/// Converts decoded sound to interleaved 16-bit stereo at another rate.
///
/// Sound that has this format already is copied bit for bit. One channel is copied to both sides;
/// two channels are left and right; more channels are mixed down with the coefficients of ITU-R
/// BS.775, scaled so that the sum cannot clip, without the low-frequency channel. The rate is
/// changed by soxr with 20 bits of precision, and the result is rounded to 16 bits without dither.
///
/// Threads: one at a time.
class StereoConverter {
public:
    /// @return an error when the channels cannot be mixed down or are too many
    MediaError Open(const DecodedFormat& from, int rate);

    /// Converts a block and appends the result.
    bool Convert(const SampleBlock& block, SampleBuffer* out);
    /// Appends the rest. Nothing can be converted afterwards.
    bool Flush(SampleBuffer* out);

    /// Whether the result equals the decoded samples.
    bool IsIdentity() const { return swr_ == nullptr && from_.channels == 2; }

private:
    MediaError OpenSwr(const DecodedFormat& from, int rate, const AVChannelLayout& layout);
    bool Run(const std::uint8_t* const* planes, int frames, SampleBuffer* out);
    const std::uint8_t* const* Silence(int frames);
    void TakeSamples(const std::int16_t* samples, int frames, SampleBuffer* out) const;

    DecodedFormat from_;
    SwrPtr swr_;
    /// The converted single channel, before it is copied to both sides.
    std::vector<std::int16_t> mono_;
    std::vector<const std::uint8_t*> planes_;
    std::vector<std::uint8_t> silence_;
};

}  // namespace zrh::media::detail
