// SPDX-License-Identifier: MIT
#include "host/waveform/PictureColors.h"

#include <algorithm>
#include <cmath>

namespace orlo::host {

namespace {

using Color = PictureColors::Color;

constexpr double MIN_CONTRAST = 3.0;
constexpr Color WHITE{255, 255, 255, 255};
constexpr Color BLACK{0, 0, 0, 255};
constexpr Color CLIP_RED{208, 2, 27, 255};
constexpr Color GREY{118, 118, 118, 255};

/// Of a luminance in the middle between black and white, with a contrast of at least 3.5 to both.
constexpr Color CHANNEL_COLORS[] = {
    {31, 111, 180, 255}, {179, 90, 0, 255},   {46, 125, 50, 255}, {142, 68, 173, 255},
    {0, 131, 143, 255},  {184, 51, 106, 255}, {122, 122, 0, 255}, {93, 95, 200, 255},
};

double LinearLight(unsigned char value) {
    const double v = value / 255.0;
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

double Luminance(const Color& color) {
    return 0.2126 * LinearLight(color.red) + 0.7152 * LinearLight(color.green) +
           0.0722 * LinearLight(color.blue);
}

const Color& Farther(const Color& from) {
    return Contrast(from, WHITE) >= Contrast(from, BLACK) ? WHITE : BLACK;
}

double LeastContrast(const std::vector<Color>& colors, const Color& background) {
    double least = 21.0;
    for (const Color& color : colors) least = std::min(least, Contrast(color, background));
    return least;
}

const Color& BackgroundFor(const std::vector<Color>& colors) {
    return LeastContrast(colors, WHITE) >= LeastContrast(colors, BLACK) ? WHITE : BLACK;
}

/// A neutral colour for rulers and scales.
Color InkFor(const Color& background) {
    return background.alpha < 255 ? GREY : Mix(background, Farther(background), 204);
}

/// Whether the picture determines the colour of the background of the waveform.
bool IsOpaque(const Color& background) {
    return background.alpha == 255;
}

/// A weighted mean of two values of a colour, rounded.
unsigned char Mean(int one, int oneWeight, int other, int otherWeight) {
    const int weight = oneWeight + otherWeight;
    if (weight == 0) return 0;
    return static_cast<unsigned char>((one * oneWeight + other * otherWeight + weight / 2) /
                                      weight);
}

/// The mix of two colours, each weighted with its share times its alpha.
Color Weighted(const Color& one, int oneShare, const Color& other, int otherShare) {
    const int a = oneShare * one.alpha;
    const int b = otherShare * other.alpha;
    return {Mean(one.red, a, other.red, b), Mean(one.green, a, other.green, b),
            Mean(one.blue, a, other.blue, b), static_cast<unsigned char>((a + b + 127) / 255)};
}

}  // namespace

double Contrast(const Color& one, const Color& other) {
    const double a = Luminance(one) + 0.05;
    const double b = Luminance(other) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

Color Readable(const Color& color, const Color& background) {
    const Color& target = Farther(background);
    for (int share = 0; share < 255; share += 15) {
        const Color mixed = Mix(color, target, share);
        if (Contrast(mixed, background) >= MIN_CONTRAST) return mixed;
    }
    return target;
}

PictureColors ResolveColors(const std::vector<Color>& given,
                            const std::optional<Color>& background) {
    PictureColors colors;
    colors.channels = given;
    colors.background = background.value_or(given.empty() ? WHITE : BackgroundFor(given));
    const auto readable = [&colors](const Color& color) {
        return IsOpaque(colors.background) ? Readable(color, colors.background) : color;
    };
    if (given.empty()) {
        for (const Color& color : CHANNEL_COLORS) colors.channels.push_back(readable(color));
    }
    colors.ink = given.empty() ? InkFor(colors.background) : given.front();
    colors.clip = readable(CLIP_RED);
    return colors;
}

Color Mix(const Color& bottom, const Color& top, int share) {
    return Weighted(top, share, bottom, 255 - share);
}

Color Over(const Color& top, int coverage, const Color& bottom) {
    const int alpha = (top.alpha * coverage + 127) / 255;
    const Color solid{top.red, top.green, top.blue, 255};
    return Weighted(solid, alpha, bottom, 255 - alpha);
}

}  // namespace orlo::host
