// SPDX-License-Identifier: MIT
#include "sonrel/waveform/WaveformPreview.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

#include "sonrel/base/FrameRange.h"
#include "sonrel/base/Numbers.h"
#include "sonrel/base/Timing.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/waveform/Painter.h"

namespace orlo::sonrel {

struct WaveformPreviewImpl {
    WaveformPreview::Color backgroundColor{0, 0, 0, 0};
    WaveformPreview::Color waveformColor{0, 0, 0, 255};
    std::int64_t previewStart = 0;
    std::int64_t previewEnd = 0;
    WaveformPreview::Style previewStyle = WaveformPreview::Style::RMSEnvelope;
    WaveformPreview::Scale previewScale = WaveformPreview::Scale::Linear;
    std::int32_t sampleRate = 0;
    std::int64_t sampleCount = 0;
    std::int32_t channelCount = 0;
    std::wstring peakFilePath;
};

namespace {

using Format = WaveformPreview::Format;
using Style = WaveformPreview::Style;
using zrtl::FrameRange;  // of blocks

constexpr int MAX_CHANNELS = 16;

/// No image has exactly this many bytes, because rows are multiples of 4 bytes.
constexpr int MORE_THAN_ANY_BUFFER = std::numeric_limits<int>::max();

std::int64_t SecondsToSamples(double seconds, int sampleRate) {
    return zrtl::TruncToInt64(zrtl::RoundHalfAway(seconds * sampleRate));
}

/// The bytes of an image, computed without making it: rows are whole 32-bit words.
int BytesOf(int width, int height, Format format) {
    if (width <= 0 || height <= 0) return 0;
    const std::int64_t bits = format == Format::RGB888 ? 24 : 32;
    const std::int64_t rowBytes = (width * bits + 31) / 32 * 4;
    return rowBytes > MORE_THAN_ANY_BUFFER / height ? MORE_THAN_ANY_BUFFER
                                                    : static_cast<int>(rowBytes * height);
}

/// The blocks of the range, within the file. A range after the last block becomes the last block.
FrameRange BlocksOf(const WaveformPreviewImpl& settings, const PeakFile& file) {
    const double samplesPerBlock = file.SamplesPerBlock();
    const int blocks = file.BlockCount();
    const auto start = static_cast<double>(settings.previewStart);
    const auto end = static_cast<double>(settings.previewEnd);
    const int firstBlock = zrtl::TruncToInt32(std::floor(start / samplesPerBlock));
    const int endBlock = zrtl::TruncToInt32(std::ceil(end / samplesPerBlock));
    return {std::min(std::max(firstBlock, 0), blocks - 1), std::min(std::max(endBlock, 0), blocks)};
}

/// Blocks for each point, so that the points are at most as many as the pixels.
double StepOf(const FrameRange& range, int width) {
    const std::int64_t count = range.Count();
    return count > width ? static_cast<double>(count) / width : 1.0;
}

/// Opens the peak file and finds the blocks of the range. A file without any of them counts as
/// unreadable.
/// @return 0 or the code that CreateImage returns
int FindBlocks(const WaveformPreviewImpl& settings, PeakFile& file, FrameRange* range) {
    if (!file.Open(settings.peakFilePath)) return WaveformPreview::PEAK_FILE_NOT_OPENED;
    if (file.ChannelCount() != settings.channelCount) return WaveformPreview::OTHER_CHANNEL_COUNT;
    // A count above 2147483647 is returned as a negative number; such a file has no valid range.
    if (file.BlockCount() < 1) return WaveformPreview::PEAK_FILE_READ_FAILED;
    *range = BlocksOf(settings, file);
    return range->end < range->start ? WaveformPreview::PEAK_FILE_READ_FAILED : 0;
}

/// Reads the range and draws it, a column for each point.
/// @return the result of CreateImage
int DrawRange(const WaveformPreviewImpl& settings, const detail::PainterFunctions& painter,
              const detail::PaintSettings& paint, const detail::ImageBuffer& buffer) {
    PeakFile file;
    FrameRange range;
    if (const int code = FindBlocks(settings, file, &range); code != 0) return code;
    const double step = StepOf(range, paint.width);
    const int first = static_cast<int>(range.start);
    const int end = static_cast<int>(range.end);
    if (paint.style == Style::RMSEnvelope) {
        std::vector<unsigned char> amplitudes;
        if (file.GetRMSAmplitude(first, end, step, amplitudes) != PeakFile::Result::Ok) {
            return WaveformPreview::PEAK_FILE_READ_FAILED;
        }
        return painter.paintEnvelope(paint, amplitudes, buffer);
    }
    std::vector<signed char> peaks;
    if (file.GetChannelPeaks(first, end, step, peaks) != PeakFile::Result::Ok) {
        return WaveformPreview::PEAK_FILE_READ_FAILED;
    }
    return painter.paintPeaks(paint, peaks, settings.channelCount, buffer);
}

}  // namespace

WaveformPreview::WaveformPreview(int sampleRate, long long sampleCount, int channelCount,
                                 const std::wstring& peakFilePath)
    : impl_(std::make_unique<WaveformPreviewImpl>()) {
    if (channelCount > MAX_CHANNELS) throw std::runtime_error("Unsupported channel count");
    if (peakFilePath.empty()) throw std::runtime_error("Waveform peak file error");
    impl_->previewEnd = sampleCount;
    impl_->sampleRate = sampleRate;
    impl_->sampleCount = sampleCount;
    impl_->channelCount = channelCount;
    impl_->peakFilePath = peakFilePath;
}

WaveformPreview::~WaveformPreview() = default;

WaveformPreview::Color WaveformPreview::BackgroundColor() const {
    return impl_->backgroundColor;
}

void WaveformPreview::SetBackgroundColor(const Color& color) {
    impl_->backgroundColor = color;
}

WaveformPreview::Color WaveformPreview::WaveformColor() const {
    return impl_->waveformColor;
}

void WaveformPreview::SetWaveformColor(const Color& color) {
    impl_->waveformColor = color;
}

std::pair<long long, long long> WaveformPreview::PreviewRangeSamples() const {
    return {impl_->previewStart, impl_->previewEnd};
}

void WaveformPreview::SetPreviewRangeSamples(long long start, long long end) {
    impl_->previewStart = std::max<std::int64_t>(start, 0);
    impl_->previewEnd = std::min<std::int64_t>(end, impl_->sampleCount);
}

void WaveformPreview::SetPreviewRangeTime(double start, double end) {
    SetPreviewRangeSamples(SecondsToSamples(start, impl_->sampleRate),
                           SecondsToSamples(end, impl_->sampleRate));
}

void WaveformPreview::ClearPreviewRange() {
    impl_->previewStart = 0;
    impl_->previewEnd = impl_->sampleCount;
}

WaveformPreview::Style WaveformPreview::PreviewStyle() const {
    return impl_->previewStyle;
}

void WaveformPreview::SetPreviewStyle(Style style) {
    impl_->previewStyle = style;
}

WaveformPreview::Scale WaveformPreview::PreviewScale() const {
    return impl_->previewScale;
}

void WaveformPreview::SetPreviewScale(Scale scale) {
    impl_->previewScale = scale;
}

int WaveformPreview::ImageBytes(int width, int height, Format format) const {
    if (impl_->previewEnd < impl_->previewStart) return RANGE_REVERSED;
    PeakFile file;
    FrameRange range;
    if (const int code = FindBlocks(*impl_, file, &range); code != 0) return code;
    if (width < 0) return PEAK_FILE_READ_FAILED;
    const std::int64_t blocks = range.Count();
    if (blocks == 0) return 0;
    // A stretched image has pixels of 32 bits.
    const Format layout = blocks < width ? Format::ARGB32 : format;
    const int bytes = BytesOf(width, height, layout);
    if (bytes == MORE_THAN_ANY_BUFFER) return bytes;
    // Null for a size without pixels and for a size that exceeds the memory. Nothing is written
    // into the image, so that it needs address space only.
    const detail::PainterFunctions* const painter = detail::FindPainter(nullptr);
    if (painter == nullptr) return PAINTER_NOT_LOADED;
    return painter->hasRoom(width, height, layout) ? bytes : 0;
}

int WaveformPreview::CreateImage(int width, int height, Format format, unsigned char* buffer,
                                 int bufferBytes) const {
    if (impl_->previewEnd < impl_->previewStart) return RANGE_REVERSED;
    const int needed = BytesOf(width, height, format);
    if (needed > bufferBytes || needed == MORE_THAN_ANY_BUFFER) return needed;
    // A drawing has a column for each point, even if the image has no width.
    const int rows = width > 0 ? height : 0;
    const detail::PaintSettings paint{impl_->previewStyle,
                                      impl_->previewScale,
                                      impl_->backgroundColor,
                                      impl_->waveformColor,
                                      format,
                                      width,
                                      rows};
    const detail::PainterFunctions* const painter = detail::FindPainter(nullptr);
    if (painter == nullptr) return PAINTER_NOT_LOADED;
    return DrawRange(*impl_, *painter, paint, {buffer, bufferBytes});
}

std::string WaveformPreview::PainterFailure() {
    std::string failure;
    detail::FindPainter(&failure);
    return failure;
}

}  // namespace orlo::sonrel
