// SPDX-License-Identifier: MIT
#include "host/waveform/PictureCanvas.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

using namespace orlo::host;
using Paint = PictureColors::Color;

Picture Canvas(int width, int height, Picture::Format format) {
    Picture picture = Picture::Make(width, height, format);
    PictureCanvas(picture).Fill(0, 0, width, height, {0, 0, 0, 0});
    return picture;
}

std::uint32_t WordAt(const Picture& picture, int x, int y) {
    std::uint32_t word = 0;
    std::memcpy(&word, picture.PixelAt(x, y), sizeof(word));
    return word;
}

TEST(PictureCanvas, StoresAColourInEachFormat) {
    const Paint color{200, 100, 50, 51};
    Picture three = Canvas(2, 1, Picture::Format::RGB888);
    PictureCanvas(three).SetPixel(1, 0, color);
    EXPECT_EQ(three.bytes[3], 200);
    EXPECT_EQ(three.bytes[5], 50);

    // A fifth of the colours: 40, 20, 10.
    const std::pair<Picture::Format, std::uint32_t> words[] = {
        {Picture::Format::RGB32, 0xffc86432},
        {Picture::Format::ARGB32, 0x33c86432},
        {Picture::Format::ARGB32Premultiplied, 0x3328140a}};
    for (const auto& [format, word] : words) {
        Picture picture = Canvas(2, 2, format);
        PictureCanvas(picture).SetPixel(1, 1, color);
        EXPECT_EQ(WordAt(picture, 1, 1), word);
    }
}

TEST(PictureCanvas, DrawsNothingOutsideThePicture) {
    Picture picture = Canvas(4, 3, Picture::Format::ARGB32);
    PictureCanvas canvas(picture);

    canvas.Fill(-5, -5, 6, 6, {1, 1, 1, 255});
    canvas.Fill(3, 2, 100, 100, {2, 2, 2, 255});
    canvas.SetPixel(4, 0, {3, 3, 3, 255});
    canvas.SetPixel(0, 3, {3, 3, 3, 255});

    EXPECT_EQ(WordAt(picture, 0, 0), 0xff010101u);
    EXPECT_EQ(WordAt(picture, 1, 1), 0u);
    EXPECT_EQ(WordAt(picture, 3, 2), 0xff020202u);
    EXPECT_EQ(WordAt(picture, 0, 1), 0u);
}

TEST(PictureCanvas, TextIsMixedWithItsBackgroundByCoverage) {
    Picture picture = Canvas(3, 2, Picture::Format::ARGB32);
    const TextMask text{-1, -1, 2, 1, {255, 51}};

    PictureCanvas(picture).DrawText(text, 1, 1, {100, 200, 50, 255}, {0, 0, 0, 255});

    EXPECT_EQ(WordAt(picture, 0, 0), 0xff64c832u);
    EXPECT_EQ(WordAt(picture, 1, 0), 0xff14280au);
    EXPECT_EQ(WordAt(picture, 0, 1), 0u);
}

}  // namespace
