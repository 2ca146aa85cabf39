// SPDX-License-Identifier: MIT
#include "sonrel/waveform/Painter.h"

#include <QImage>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "sonrel/waveform/painter/WaveformPainter.h"

namespace orlo::sonrel::detail {

namespace {

using Format = WaveformPreview::Format;

/// Qt divides the conversion and the scaling of larger images among threads, and waits without end
/// for a thread that cannot start.
constexpr int MAX_BYTES_OF_ONE_THREAD = (1 << 17) - 1;

/// Some rows of a drawing at the requested width.
QImage StretchRows(const QImage& drawing, int top, int rows, int width) {
    const QImage band = drawing.copy(0, top, drawing.width(), rows);
    return band.scaled(width, rows, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

/// Null without memory for it.
QImage StretchInBands(const QImage& drawing, int width, int bandRows) {
    QImage stretched;
    for (int top = 0; top < drawing.height(); top += bandRows) {
        const int rows = std::min(bandRows, drawing.height() - top);
        const QImage band = StretchRows(drawing, top, rows, width);
        if (band.isNull()) return {};
        if (top == 0) stretched = QImage(width, drawing.height(), band.format());
        if (stretched.isNull()) return {};
        std::memcpy(stretched.scanLine(top), band.constBits(),
                    static_cast<std::size_t>(band.sizeInBytes()));
    }
    return stretched;
}

/// Scales the drawing to the requested width. The height stays, so each row is stretched without
/// the others. Smooth scaling changes the pixel format, which is not converted back: the host gets
/// the pixels without further cost, and WaveformPreview.h documents their layout.
QImage Stretch(const QImage& drawing, int width) {
    if (drawing.isNull() || drawing.width() == width) return drawing;
    // The scaling has four bytes a pixel, whatever the format.
    const int rowBytes = 4 * drawing.width();
    return StretchInBands(drawing, width, std::max(1, MAX_BYTES_OF_ONE_THREAD / rowBytes));
}

int CopyImage(const QImage& image, const ImageBuffer& buffer) {
    const std::int64_t bytes = image.sizeInBytes();
    if (bytes == 0) return 0;
    if (buffer.bytes == nullptr) return WaveformPreview::BUFFER_REFUSED;
    if (bytes > buffer.size) {
        std::memset(buffer.bytes, 0, static_cast<std::size_t>(buffer.size));
        return WaveformPreview::BUFFER_REFUSED;
    }
    std::memcpy(buffer.bytes, image.constBits(), static_cast<std::size_t>(bytes));
    return 0;
}

bool HasRoom(int width, int height, Format format) {
    return !QImage(width, height, PixelFormat(format)).isNull();
}

int CopyPeaks(const PaintSettings& paint, const std::vector<signed char>& peaks, int channels,
              const ImageBuffer& buffer) {
    return CopyImage(Stretch(PaintPeaks(paint, peaks, channels), paint.width), buffer);
}

int CopyEnvelope(const PaintSettings& paint, const std::vector<unsigned char>& amplitudes,
                 const ImageBuffer& buffer) {
    return CopyImage(Stretch(PaintEnvelope(paint, amplitudes), paint.width), buffer);
}

}  // namespace

}  // namespace orlo::sonrel::detail

const orlo::sonrel::detail::PainterFunctions* SonrelPainter() {
    using namespace orlo::sonrel::detail;
    static constexpr PainterFunctions FUNCTIONS = {&HasRoom, &CopyPeaks, &CopyEnvelope};
    return &FUNCTIONS;
}
