// SPDX-License-Identifier: MIT
#include "host/waveform/WaveformPicture.h"

#include <QBuffer>
#include <QByteArray>
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::host {

namespace {

using sonrel::PeakFile;
using sonrel::WaveformPreview;

constexpr long long BLOCK_SAMPLES = 32;
/// A peak file without blocks is its header alone.
constexpr std::uintmax_t HEADER_BYTES = 20;

/// The blocks that a range touches; end exclusive.
StreamRange BlocksOf(const PeakSource& source, const StreamRange& range) {
    const long long blocks = source.blocks;
    return {std::min(range.start / BLOCK_SAMPLES, blocks - 1),
            std::min((range.end + BLOCK_SAMPLES - 1) / BLOCK_SAMPLES, blocks)};
}

/// How the pixels of a finished image lie in memory. Fewer blocks than pixels are stretched, and
/// what is stretched has 32 bits a pixel.
QImage::Format PixelFormat(WaveformPreview::Format format, bool stretched) {
    if (format == WaveformPreview::Format::RGB888) {
        return stretched ? QImage::Format_RGB32 : QImage::Format_RGB888;
    }
    return stretched ? QImage::Format_ARGB32_Premultiplied : QImage::Format_ARGB32;
}

[[noreturn]] void RefusePeakFile(const std::string& media, const std::string& peakFile) {
    std::error_code error;
    if (std::filesystem::file_size(peakFile, error) == HEADER_BYTES) {
        throw JobError("the sound of " + Quoted(media) + " has no length");
    }
    throw JobError("cannot draw " + Quoted(media) + ": its peak file " + Quoted(peakFile) +
                   " is damaged; run the command again, and it is made again");
}

std::string ReasonOf(int result) {
    switch (result) {
        case WaveformPreview::PEAK_FILE_NOT_OPENED:
            return "its peak file does not open";
        case WaveformPreview::PEAK_FILE_READ_FAILED:
            return "its peak file is cut short";
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

StreamRange ShownRange(const PeakSource& source, const StreamRange& range) {
    const StreamRange blocks = BlocksOf(source, range);
    return {blocks.start * BLOCK_SAMPLES, blocks.end * BLOCK_SAMPLES};
}

QImage DrawWaveform(const PeakSource& source, const StreamRange& range,
                    const WaveformOptions& options, const PictureSize& size) {
    WaveformPreview preview(source.rate, source.samples, source.channels,
                            WidePath(source.peakFile));
    preview.SetBackgroundColor(options.background);
    preview.SetWaveformColor(options.color);
    preview.SetPreviewStyle(options.style);
    preview.SetPreviewScale(options.scale);
    preview.SetPreviewRangeSamples(range.start, range.end);

    const StreamRange blocks = BlocksOf(source, range);
    const bool stretched = blocks.end - blocks.start < size.width;
    QImage image(size.width, size.height, PixelFormat(options.format, stretched));
    if (image.isNull()) throw JobError("there is not enough memory for the picture");
    image.fill(0);
    const int result = preview.CreateImage(size.width, size.height, options.format, image.bits(),
                                           static_cast<int>(image.sizeInBytes()));
    if (result != 0)
        throw JobError("cannot draw " + Quoted(source.media) + ": " + ReasonOf(result));
    return image;
}

std::string PngBytes(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG")) {
        throw JobError("the picture cannot be turned into PNG");
    }
    return bytes.toStdString();
}

}  // namespace orlo::host
