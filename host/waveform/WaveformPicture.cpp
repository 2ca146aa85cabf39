// SPDX-License-Identifier: MIT
#include "host/waveform/WaveformPicture.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/waveform/FramePicture.h"
#include "host/waveform/LanePicture.h"
#include "host/waveform/PicturePainter.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::host {

namespace {

using sonrel::PeakFile;
using sonrel::WaveformPreview;

constexpr long long BLOCK_SAMPLES = PeakFile::SAMPLES_PER_BLOCK;

/// The blocks that overlap a range; end exclusive.
zrtl::FrameRange BlocksOf(const PeakSource& source, const zrtl::FrameRange& range) {
    const long long blocks = source.blocks;
    return {std::min(range.start / BLOCK_SAMPLES, blocks - 1),
            std::min((range.end + BLOCK_SAMPLES - 1) / BLOCK_SAMPLES, blocks)};
}

/// The pixel format of a finished image. An image with fewer blocks than pixels is stretched, and a
/// stretched image has 32 bits per pixel.
Picture::Format PixelFormat(WaveformPreview::Format format, bool stretched) {
    if (format == WaveformPreview::Format::RGB888) {
        return stretched ? Picture::Format::RGB32 : Picture::Format::RGB888;
    }
    return stretched ? Picture::Format::ARGB32Premultiplied : Picture::Format::ARGB32;
}

[[noreturn]] void RefusePeakFile(const std::string& media, const std::string& peakFile) {
    std::error_code error;
    // A peak file without blocks is only its header.
    if (std::filesystem::file_size(peakFile, error) == PeakFile::HEADER_BYTES) {
        throw JobError("the sound of " + Quoted(media) + " has no length");
    }
    throw JobError("cannot draw " + Quoted(media) + ": its peak file " + Quoted(peakFile) +
                   " is damaged; run the command again to recreate it");
}

[[noreturn]] void RefuseMemory() {
    throw JobError(
        "there is not enough memory for the picture; choose a smaller --size, or allow more "
        "(ulimit "
        "-v)");
}

/// Draws into an image whose bytes are all set to one value.
/// @return the result of the drawing. Without enough memory it is also 0, and the bytes are
///         unchanged.
int DrawOver(std::uint8_t before, const WaveformPreview& preview, WaveformPreview::Format format,
             Picture& picture) {
    std::memset(picture.bytes.get(), before, picture.Size());
    return preview.CreateImage(picture.width, picture.height, format, picture.bytes.get(),
                               static_cast<int>(picture.Size()));
}

bool IsDrawn(const Picture& picture, std::uint8_t before) {
    const unsigned char* const bytes = picture.bytes.get();
    return std::any_of(bytes, bytes + picture.Size(),
                       [before](std::uint8_t byte) { return byte != before; });
}

std::string ReasonOf(int result) {
    switch (result) {
        case WaveformPreview::PEAK_FILE_NOT_OPENED:
            return "its peak file cannot be opened";
        case WaveformPreview::PEAK_FILE_READ_FAILED:
            return "its peak file is truncated";
        case WaveformPreview::PAINTER_NOT_LOADED:
            return PainterMissing(WaveformPreview::PainterFailure());
        default:
            return "result " + std::to_string(result);
    }
}

Picture Checked(Picture picture) {
    if (picture.bytes == nullptr) RefuseMemory();
    return picture;
}

/// The settings of the engine.
struct EngineDrawing {
    WaveformPreview::Style style;
    WaveformPreview::Scale scale;
    WaveformPreview::Format format;
    WaveformPreview::Color color;
    WaveformPreview::Color background;
};

Picture DrawByEngine(const PeakSource& source, const zrtl::FrameRange& range,
                     const EngineDrawing& drawing, const PictureSize& size) {
    WaveformPreview preview(source.rate, source.samples, source.channels,
                            WidePath(source.peakFile));
    preview.SetBackgroundColor(drawing.background);
    preview.SetWaveformColor(drawing.color);
    preview.SetPreviewStyle(drawing.style);
    preview.SetPreviewScale(drawing.scale);
    preview.SetPreviewRangeSamples(range.start, range.end);

    const bool stretched = IsStretched(source, range, size.width);
    Picture picture =
        Checked(Picture::Make(size.width, size.height, PixelFormat(drawing.format, stretched)));
    // A picture cannot be equal to both fillings.
    for (const auto before : {std::uint8_t{0}, std::uint8_t{1}}) {
        const int result = DrawOver(before, preview, drawing.format, picture);
        if (result != 0) {
            throw JobError("cannot draw " + Quoted(source.media) + ": " + ReasonOf(result));
        }
        if (IsDrawn(picture, before)) return picture;
    }
    RefuseMemory();
}

/// Whether the channels of a picture have different colours.
bool HasColoredLanes(const PeakSource& source, const WaveformOptions& options,
                     const PictureColors& colors, const PictureSize& size) {
    return options.style != WaveformPreview::Style::RMSEnvelope && source.channels > 1 &&
           colors.channels.size() > 1 && LaneHeight(options, size.height, source.channels) > 0;
}

/// The lanes of all channels as the engine draws them. Overlaid channels are lanes too, each of the
/// height of the picture.
LaneMasks MasksOf(const PeakSource& source, const zrtl::FrameRange& range,
                  const WaveformOptions& options, const PictureSize& size) {
    const int laneHeight = LaneHeight(options, size.height, source.channels);
    const long long height = static_cast<long long>(laneHeight) * source.channels;
    if (!IsPictureSize(size.width, height)) {
        throw UsageError("a picture of " + std::to_string(source.channels) +
                         " channels in different colours needs " + std::to_string(height) +
                         " rows to draw, which is too large; choose a smaller --size, or one "
                         "--color");
    }
    const EngineDrawing drawing{WaveformPreview::Style::ChannelLanes,
                                options.scale,
                                WaveformPreview::Format::ARGB32,
                                {0, 0, 0, 255},
                                {0, 0, 0, 0}};
    const Picture lanes =
        DrawByEngine(source, range, drawing, {size.width, static_cast<int>(height)});
    LaneMasks masks(size.width, laneHeight, source.channels);
    for (std::size_t pixel = 0; pixel < masks.coverage.size(); ++pixel) {
        std::uint32_t word = 0;
        std::memcpy(&word, lanes.bytes.get() + 4 * pixel, sizeof(word));
        masks.coverage[pixel] = static_cast<unsigned char>(word >> 24);
    }
    return masks;
}

}  // namespace

PeakSource OpenPeakSource(const std::string& media, const std::string& peakFile, int rate,
                          long long samples) {
    PeakFile file;
    if (!file.Open(WidePath(peakFile)) || file.BlockCount() < 1) RefusePeakFile(media, peakFile);
    const long long most = file.BlockCount() * BLOCK_SAMPLES;
    const bool fits = samples <= most && samples > most - BLOCK_SAMPLES;
    return {media, peakFile, rate, fits ? samples : most, file.ChannelCount(), file.BlockCount()};
}

zrtl::FrameRange ShownRange(const PeakSource& source, const zrtl::FrameRange& range) {
    const zrtl::FrameRange blocks = BlocksOf(source, range);
    return {blocks.start * BLOCK_SAMPLES, blocks.end * BLOCK_SAMPLES};
}

bool IsStretched(const PeakSource& source, const zrtl::FrameRange& range, int width) {
    const zrtl::FrameRange blocks = BlocksOf(source, range);
    return blocks.end - blocks.start < width;
}

Picture DrawWaveform(const PeakSource& source, const zrtl::FrameRange& range,
                     const WaveformOptions& options, const PictureColors& colors,
                     const PictureSize& size) {
    if (HasColoredLanes(source, options, colors, size)) {
        const bool stacked = options.style == WaveformPreview::Style::ChannelLanes;
        LaneMasks masks = MasksOf(source, range, options, size);
        return Checked(PaintLanes(masks, stacked, colors, options.format, size.height));
    }
    const EngineDrawing drawing{options.style, options.scale, options.format, colors.OfChannel(0),
                                colors.background};
    return DrawByEngine(source, range, drawing, size);
}

Picture DrawSamplePicture(const StreamSamples& samples, const WaveformOptions& options,
                          const PictureColors& colors, const PictureSize& size) {
    const auto channels = static_cast<int>(samples.channels.size());
    const bool stacked = options.style == WaveformPreview::Style::ChannelLanes;
    LaneMasks masks =
        DrawSamples(samples, size.width, LaneHeight(options, size.height, channels), options.scale);
    return Checked(PaintLanes(masks, stacked, colors, options.format, size.height));
}

Picture AddFrame(const Picture& picture, const Frame& frame, LabelFont* font) {
    return Checked(PaintFrame(picture, frame, font));
}

std::string PngBytes(const Picture& picture) {
    std::string bytes = FindPicturePainter().encodePng(picture);
    if (bytes.empty()) RefuseMemory();
    return bytes;
}

}  // namespace orlo::host
