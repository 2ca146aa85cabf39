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

Picture DrawWaveform(const PeakSource& source, const zrtl::FrameRange& range,
                     const WaveformOptions& options, const PictureSize& size) {
    WaveformPreview preview(source.rate, source.samples, source.channels,
                            WidePath(source.peakFile));
    preview.SetBackgroundColor(options.background);
    preview.SetWaveformColor(options.color);
    preview.SetPreviewStyle(options.style);
    preview.SetPreviewScale(options.scale);
    preview.SetPreviewRangeSamples(range.start, range.end);

    const zrtl::FrameRange blocks = BlocksOf(source, range);
    const bool stretched = blocks.end - blocks.start < size.width;
    Picture picture =
        Picture::Make(size.width, size.height, PixelFormat(options.format, stretched));
    if (picture.bytes == nullptr) RefuseMemory();
    // A picture cannot be equal to both fillings.
    for (const auto before : {std::uint8_t{0}, std::uint8_t{1}}) {
        const int result = DrawOver(before, preview, options.format, picture);
        if (result != 0) {
            throw JobError("cannot draw " + Quoted(source.media) + ": " + ReasonOf(result));
        }
        if (IsDrawn(picture, before)) return picture;
    }
    RefuseMemory();
}

Picture AddRuler(const Picture& picture, const Ruler& ruler) {
    Picture whole = FindPicturePainter().addRuler(picture, ruler);
    if (whole.bytes == nullptr) RefuseMemory();
    return whole;
}

std::string PngBytes(const Picture& picture) {
    std::string bytes = FindPicturePainter().encodePng(picture);
    if (bytes.empty()) RefuseMemory();
    return bytes;
}

}  // namespace orlo::host
