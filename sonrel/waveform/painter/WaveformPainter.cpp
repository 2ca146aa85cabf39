// SPDX-License-Identifier: MIT
#include "sonrel/waveform/painter/WaveformPainter.h"

#include <QBrush>
#include <QColor>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "sonrel/waveform/painter/WaveformRows.h"

namespace orlo::sonrel::detail {

namespace {

using Color = WaveformPreview::Color;
using Style = WaveformPreview::Style;

constexpr std::size_t MAX_CHANNELS = 16;
constexpr double FULL_PEAK = 127.0;
constexpr double FULL_RMS = 255.0;

using Paths = std::array<QPainterPath, MAX_CHANNELS>;

/// The lane of a path: its height and the row of silence.
struct Lane {
    int height;
    int baseline;
};

QColor ToQColor(const Color& color) {
    return QColor::fromRgb(color.red, color.green, color.blue, color.alpha);
}

/// An image of the background. Qt does not set the padding after each row; it is cleared so that
/// equal pictures have equal bytes.
QImage MakeCanvas(const PaintSettings& paint, int columns) {
    QImage canvas(columns, paint.height, PixelFormat(paint.format));
    if (canvas.isNull()) return canvas;
    std::memset(canvas.bits(), 0, static_cast<std::size_t>(canvas.sizeInBytes()));
    canvas.fill(ToQColor(paint.background));
    return canvas;
}

Lane LaneOf(const PaintSettings& paint, int channel, int channels) {
    if (paint.style != Style::ChannelLanes) return {paint.height, paint.height / 2};
    const int height = paint.height / channels;
    return {height, height / 2 + channel * height};
}

void PlotPeak(QPainterPath& path, int x, signed char byte, const Lane& lane,
              WaveformPreview::Scale scale) {
    const double value = std::clamp(byte / FULL_PEAK, -1.0, 1.0);
    path.lineTo(x, PeakRow(value, lane.baseline, lane.height, scale));
}

/// One column of a channel: its minimum, then its maximum. A limit of 0 is omitted, because the
/// line crosses it anyway; silence is one point.
/// @param limits  minimum and maximum
void PlotColumn(QPainterPath& path, int x, const signed char* limits, const Lane& lane,
                WaveformPreview::Scale scale) {
    if (limits[0] != 0) PlotPeak(path, x, limits[0], lane, scale);
    if (limits[1] != 0) PlotPeak(path, x, limits[1], lane, scale);
    if (limits[0] == 0 && limits[1] == 0) PlotPeak(path, x, 0, lane, scale);
}

/// Sets the colour of the waveform and lines of one pixel without antialiasing.
void SetPen(QPainter& painter, const QColor& color) {
    painter.setRenderHint(QPainter::Qt4CompatiblePainting, true);
    QPen pen = painter.pen();
    pen.setColor(color);
    pen.setCosmetic(true);
    painter.setPen(pen);
}

}  // namespace

QImage::Format PixelFormat(WaveformPreview::Format format) {
    return format == WaveformPreview::Format::RGB888 ? QImage::Format_RGB888
                                                     : QImage::Format_ARGB32;
}

QImage PaintPeaks(const PaintSettings& paint, const std::vector<signed char>& peaks, int channels) {
    const auto perPoint = 2 * static_cast<std::size_t>(channels);
    const int columns = static_cast<int>(peaks.size() / perPoint);
    QImage canvas = MakeCanvas(paint, columns);
    if (canvas.isNull()) return canvas;
    Paths paths;
    for (int channel = 0; channel < channels; ++channel) {
        QPainterPath& path = paths[static_cast<std::size_t>(channel)];
        const Lane lane = LaneOf(paint, channel, channels);
        path.reserve(2 * columns + 1);
        path.moveTo(0, lane.baseline);
        const signed char* limits = peaks.data() + 2 * channel;
        for (int x = 0; x < columns; ++x, limits += perPoint) {
            PlotColumn(path, x, limits, lane, paint.scale);
        }
    }
    QPainter painter(&canvas);
    SetPen(painter, ToQColor(paint.waveform));
    for (int channel = 0; channel < channels; ++channel) {
        painter.drawPath(paths[static_cast<std::size_t>(channel)]);
    }
    return canvas;
}

QImage PaintEnvelope(const PaintSettings& paint, const std::vector<unsigned char>& amplitudes) {
    const int columns = static_cast<int>(amplitudes.size());
    QImage canvas = MakeCanvas(paint, columns);
    if (canvas.isNull()) return canvas;
    const int baseline = paint.height - 1;
    QPainterPath path;
    path.reserve(columns + 3);
    path.moveTo(0, baseline);
    for (int x = 0; x < columns; ++x) {
        const double amplitude =
            std::clamp(amplitudes[static_cast<std::size_t>(x)] / FULL_RMS, 0.0, 1.0);
        path.lineTo(x, RMSRow(amplitude, paint.height, paint.scale));
    }
    path.lineTo(columns, baseline);
    path.lineTo(0, baseline);
    const QColor color = ToQColor(paint.waveform);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Qt4CompatiblePainting, true);
    painter.fillPath(path, QBrush(color));
    SetPen(painter, color);
    painter.drawPath(path);
    return canvas;
}

}  // namespace orlo::sonrel::detail
