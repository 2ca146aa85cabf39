// SPDX-License-Identifier: MIT
#include "fuzz/PeakPictures.h"

#include <vector>

#include "sonrel/waveform/WaveformPreview.h"

namespace sonrel_fuzz {

namespace {

using orlo::sonrel::WaveformPreview;

constexpr unsigned char GUARD = 0x5A;
constexpr std::size_t GUARD_BYTES = 64;
/// Pixels of a picture that is drawn whole.
constexpr int MAX_WIDTH = 4096;

void Choose(WaveformPreview& preview, Choices& choices) {
    preview.SetPreviewStyle(static_cast<WaveformPreview::Style>(choices.Below(4)));
    preview.SetPreviewScale(static_cast<WaveformPreview::Scale>(choices.Below(3)));
    preview.SetWaveformColor(choices.Take<WaveformPreview::Color>());
    preview.SetBackgroundColor(choices.Take<WaveformPreview::Color>());
    switch (choices.Below(4)) {
        case 0:
            break;
        case 1: {
            const auto start = choices.Take<std::int16_t>();
            preview.SetPreviewRangeSamples(start, start + choices.Take<std::int16_t>());
            break;
        }
        case 2: {
            const auto start = choices.Take<std::int64_t>();
            preview.SetPreviewRangeSamples(start, choices.Take<std::int64_t>());
            break;
        }
        default: {
            const auto start = choices.Take<double>();
            preview.SetPreviewRangeTime(start, choices.Take<double>());
        }
    }
}

/// @return the result of the drawing
int DrawInto(const WaveformPreview& preview, int width, int height, WaveformPreview::Format format,
             int room) {
    std::vector<unsigned char> buffer(static_cast<std::size_t>(room) + GUARD_BYTES, GUARD);
    const int result = preview.CreateImage(width, height, format, buffer.data(), room);
    for (std::size_t i = 0; i < GUARD_BYTES; ++i) {
        Require(buffer[room + i] == GUARD, "nothing drawn beyond the buffer");
    }
    return result;
}

/// Draws into a buffer of exactly the size that the picture needs.
void DrawWhole(const WaveformPreview& preview, int width, int height,
               WaveformPreview::Format format) {
    const int needed = preview.ImageBytes(width, height, format);
    const int result = DrawInto(preview, width, height, format, std::max(needed, 0));
    // Only the drawing reads the blocks.
    if (needed > 0) {
        Require(result == 0 || result == WaveformPreview::PEAK_FILE_READ_FAILED,
                "a picture in a buffer of its size");
    }
}

}  // namespace

void DrawPictures(const std::wstring& path, int channels, long long samples, Choices& choices) {
    const int rate = choices.Below(8) == 0 ? choices.Take<std::int32_t>() : 48000;
    if (choices.Below(8) == 0) channels = 1 + static_cast<int>(choices.Below(16));
    if (choices.Below(4) == 0) samples = choices.Take<std::int64_t>();
    WaveformPreview preview(rate, samples, channels, path);
    Choose(preview, choices);
    const auto format = static_cast<WaveformPreview::Format>(choices.Below(3));
    const int width = choices.Take<std::uint16_t>() % MAX_WIDTH;
    DrawWhole(preview, width, choices.Take<std::uint8_t>(), format);
    const auto anyWidth = choices.Take<std::int32_t>();
    const auto anyHeight = choices.Take<std::int32_t>();
    DrawInto(preview, anyWidth, anyHeight, format, choices.Take<std::uint16_t>());
}

}  // namespace sonrel_fuzz
