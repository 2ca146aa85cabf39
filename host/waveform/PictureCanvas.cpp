// SPDX-License-Identifier: MIT
#include "host/waveform/PictureCanvas.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace orlo::host {

namespace {

using Color = PictureColors::Color;

unsigned char Premultiplied(unsigned char value, unsigned char alpha) {
    return static_cast<unsigned char>((value * alpha + 127) / 255);
}

std::uint32_t Word(unsigned char red, unsigned char green, unsigned char blue,
                   unsigned char alpha) {
    return std::uint32_t{alpha} << 24 | std::uint32_t{red} << 16 | std::uint32_t{green} << 8 | blue;
}

void Store(std::uint32_t word, unsigned char* pixel) {
    std::memcpy(pixel, &word, sizeof(word));
}

void StorePixel(Picture::Format format, const Color& color, unsigned char* pixel) {
    const auto [red, green, blue, alpha] = color;
    switch (format) {
        case Picture::Format::RGB888:
        case Picture::Format::RGBA8888:
            pixel[0] = red;
            pixel[1] = green;
            pixel[2] = blue;
            if (format == Picture::Format::RGBA8888) pixel[3] = alpha;
            break;
        case Picture::Format::RGB32:
            Store(Word(red, green, blue, 255), pixel);
            break;
        case Picture::Format::ARGB32:
            Store(Word(red, green, blue, alpha), pixel);
            break;
        case Picture::Format::ARGB32Premultiplied:
            Store(Word(Premultiplied(red, alpha), Premultiplied(green, alpha),
                       Premultiplied(blue, alpha), alpha),
                  pixel);
            break;
    }
}

}  // namespace

void PictureCanvas::SetPixel(int x, int y, const Color& color) {
    if (x < 0 || y < 0 || x >= picture_.width || y >= picture_.height) return;
    StorePixel(picture_.format, color, picture_.PixelAt(x, y));
}

void PictureCanvas::Fill(int x, int y, int width, int height, const Color& color) {
    const int right = std::min(x + width, picture_.width);
    const int bottom = std::min(y + height, picture_.height);
    for (int row = std::max(y, 0); row < bottom; ++row) {
        for (int column = std::max(x, 0); column < right; ++column) SetPixel(column, row, color);
    }
}

void PictureCanvas::Copy(const Picture& part, int left, int top) {
    const auto bytes = static_cast<std::size_t>(part.width) * part.PixelBytes();
    for (int row = 0; row < part.height; ++row) {
        std::memcpy(picture_.PixelAt(left, top + row), part.PixelAt(0, row), bytes);
    }
}

void PictureCanvas::DrawText(const TextMask& text, int x, int baseline, const Color& color,
                             const Color& background) {
    const unsigned char* coverage = text.coverage.data();
    for (int row = 0; row < text.height; ++row) {
        for (int column = 0; column < text.width; ++column, ++coverage) {
            if (*coverage == 0) continue;
            SetPixel(x + text.left + column, baseline + text.top + row,
                     Mix(background, color, *coverage));
        }
    }
}

}  // namespace orlo::host
