// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "sonrel/waveform/WaveformPreview.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {

/// A block of a peak file.
struct PeakBlock {
    int rms = 0;                              ///< 0 to 255
    std::vector<std::pair<int, int>> limits;  ///< minimum and maximum of each channel
};

/// The header of a peak file.
inline std::string PeakHeader(int channels, std::uint32_t blocks) {
    return "ORLOXWPK" + Little(1, 4) + Little(static_cast<std::uint32_t>(channels), 4) +
           Little(blocks, 4);
}

inline std::string PeakBytes(int channels, const std::vector<PeakBlock>& blocks) {
    std::string bytes = PeakHeader(channels, static_cast<std::uint32_t>(blocks.size()));
    for (const PeakBlock& block : blocks) {
        bytes += static_cast<char>(block.rms);
        for (const auto& [minimum, maximum] : block.limits) {
            bytes += static_cast<char>(minimum);
            bytes += static_cast<char>(maximum);
        }
    }
    return bytes;
}

/// Blocks of one channel with these RMS bytes and no peaks.
inline std::vector<PeakBlock> Envelope(const std::vector<int>& amplitudes) {
    std::vector<PeakBlock> blocks;
    for (const int amplitude : amplitudes) blocks.push_back({amplitude, {{0, 0}}});
    return blocks;
}

/// A pixel as 0xAARRGGBB.
using Pixel = std::uint32_t;

/// An image in a host's buffer.
class Picture {
public:
    using Format = orlo::sonrel::WaveformPreview::Format;

    Picture(int width, int height, Format format)
        : Picture(width, height, format, Stride(width, format) * static_cast<std::size_t>(height)) {
    }
    Picture(int width, int height, Format format, std::size_t bufferBytes)
        : width_(width), height_(height), format_(format), buffer_(bufferBytes) {}

    int Draw(const orlo::sonrel::WaveformPreview& preview) {
        return preview.CreateImage(width_, height_, format_, buffer_.Data(), buffer_.Size());
    }

    /// A pixel of an image in the requested format.
    Pixel At(int x, int y) {
        const unsigned char* row =
            buffer_.Data() + static_cast<std::size_t>(y) * Stride(width_, format_);
        if (format_ == Format::RGB888) {
            const unsigned char* rgb = row + 3 * static_cast<std::ptrdiff_t>(x);
            return 0xff000000u | Pixel{rgb[0]} << 16 | Pixel{rgb[1]} << 8 | Pixel{rgb[2]};
        }
        return WordAt(x, y);
    }
    /// A pixel of an image of 32-bit words.
    Pixel WordAt(int x, int y) {
        Pixel pixel = 0;
        const auto index = static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                           static_cast<std::size_t>(x);
        std::memcpy(&pixel, buffer_.Data() + 4 * index, sizeof(pixel));
        return pixel;
    }

    int Width() const { return width_; }
    int Height() const { return height_; }
    GuardedBuffer& Buffer() { return buffer_; }

    /// Bytes from row to row: whole 32-bit words.
    static std::size_t Stride(int width, Format format) {
        const auto pixels = static_cast<std::size_t>(width);
        return format == Format::RGB888 ? (3 * pixels + 3) / 4 * 4 : 4 * pixels;
    }

private:
    int width_;
    int height_;
    Format format_;
    GuardedBuffer buffer_;
};

/// The rows of a column with a colour, one character for each row: '#' with it, '.' without.
inline std::string ColumnOf(Picture& picture, int x, Pixel color) {
    std::string rows;
    for (int y = 0; y < picture.Height(); ++y) rows += picture.At(x, y) == color ? '#' : '.';
    return rows;
}

/// A column of @p height rows with the colour from row @p first to row @p last.
inline std::string Rows(int height, int first, int last) {
    std::string rows(static_cast<std::size_t>(height), '.');
    for (int y = first; y <= last; ++y) {
        if (y >= 0 && y < height) rows[static_cast<std::size_t>(y)] = '#';
    }
    return rows;
}

}  // namespace sonrel_tests
