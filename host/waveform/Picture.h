// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <new>

namespace orlo::host {

/// An image in memory: rows from the top, each row padded to a multiple of 4 bytes.
struct Picture {
    enum class Format {
        RGB888,               ///< three bytes: red, green, blue
        RGB32,                ///< 32-bit words 0xffRRGGBB
        ARGB32,               ///< 32-bit words 0xAARRGGBB
        ARGB32Premultiplied,  ///< the same, with colours multiplied by alpha
        RGBA8888              ///< four bytes: red, green, blue, alpha
    };

    int width = 0;   ///< pixels
    int height = 0;  ///< pixels
    Format format = Format::ARGB32;
    std::unique_ptr<unsigned char[]> bytes;

    std::size_t PixelBytes() const { return format == Format::RGB888 ? 3 : 4; }
    int RowBytes() const { return (width * static_cast<int>(PixelBytes()) + 3) / 4 * 4; }
    std::size_t Size() const {
        return static_cast<std::size_t>(RowBytes()) * static_cast<std::size_t>(height);
    }

    unsigned char* PixelAt(int x, int y) const {
        return bytes.get() + static_cast<std::size_t>(RowBytes()) * static_cast<std::size_t>(y) +
               PixelBytes() * static_cast<std::size_t>(x);
    }

    /// An image with undefined contents, of at most 2^26 pixels; its bytes are null without enough
    /// memory.
    static Picture Make(int width, int height, Format format) {
        Picture picture{width, height, format, nullptr};
        picture.bytes.reset(new (std::nothrow) unsigned char[picture.Size()]);
        return picture;
    }
};

}  // namespace orlo::host
