// SPDX-License-Identifier: MIT
#include "sonrel/sync/LoudSeconds.h"

#include <algorithm>
#include <cstdint>
#include <tuple>

#include "sonrel/base/Numbers.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/project/MediaAudioStream.h"
#include "sonrel/sync/detail/LoudWindows.h"

namespace orlo::sonrel {
namespace {

using project::MediaAudioStream;
using zrtl::FrameRange;

/// Native position of a block, in 32 bits that wrap: recordings of over twelve hours repeat their
/// positions.
long long WindowPosition(int block, int samplesPerBlock) {
    const std::uint32_t position =
        static_cast<std::uint32_t>(block) * static_cast<std::uint32_t>(samplesPerBlock);
    return static_cast<std::int32_t>(position);
}

/// Adds one window to the lists. @return false when the file ends before the end of the window
bool AddWindow(PeakFile& file, int first, int end, detail::LoudSeconds& seconds) {
    const long long position = WindowPosition(first, file.SamplesPerBlock());
    std::vector<unsigned char> amplitudes;
    if (file.GetRMSAmplitude(first, end, end - first, amplitudes) != PeakFile::Result::Ok ||
        amplitudes.size() != 1) {
        return false;
    }
    if (amplitudes[0] != 0) seconds.byRms.Add(amplitudes[0], position);
    std::vector<signed char> peaks;
    if (file.GetChannelPeaks(first, end, end - first, peaks) != PeakFile::Result::Ok) return false;
    const signed char peak = detail::LargestPeak(peaks);
    if (peak > 0) seconds.byPeak.Add(peak, position);
    return true;
}

/// Reads the peak file in windows of a second that overlap by half.
std::optional<detail::LoudSeconds> FindLoudSeconds(const MediaAudioStream& stream) {
    PeakFile file;
    if (!file.Open(stream.WaveformPeakFilePath())) return std::nullopt;
    detail::LoudSeconds seconds;
    const int blocksPerSecond = stream.NativeSampleRate() / file.SamplesPerBlock();
    const int step = blocksPerSecond / 2;
    if (step < 1) return seconds;  // below 64 Hz a second has no halves
    for (std::int64_t first = 0; first < file.BlockCount(); first += step) {
        const auto end = std::min<std::int64_t>(first + blocksPerSecond, file.BlockCount());
        if (!AddWindow(file, static_cast<int>(first), static_cast<int>(end), seconds)) break;
    }
    return seconds;
}

void ConvertToConformedRate(const MediaAudioStream& stream, std::vector<FrameRange>& set) {
    const int rate = stream.ConformedSampleRate();
    const double ratio = static_cast<double>(rate) / stream.NativeSampleRate();
    for (FrameRange& segment : set) {
        segment.start = zrtl::TruncToInt64(static_cast<double>(segment.start) * ratio);
        if (segment.start < 0) segment.start = 0;
        if (segment.start + rate > stream.ConformedSampleCount()) {
            segment.start = stream.ConformedSampleCount() - rate;
        }
        segment.end = segment.start + rate;
    }
}

void SortWithoutRepeats(std::vector<FrameRange>& segments) {
    const auto key = [](const FrameRange& s) { return std::tie(s.start, s.end); };
    std::sort(segments.begin(), segments.end(),
              [&](const auto& a, const auto& b) { return key(a) < key(b); });
    segments.erase(std::unique(segments.begin(), segments.end(),
                               [&](const auto& a, const auto& b) { return key(a) == key(b); }),
                   segments.end());
}

/// Whether two ranges have a frame in common.
bool Overlap(const FrameRange& a, const FrameRange& b) {
    return a.start < b.end && b.start < a.end;
}

}  // namespace

namespace detail {

signed char LargestPeak(const std::vector<signed char>& peaks) {
    signed char largest = 0;
    for (const signed char peak : peaks) {
        const auto size = static_cast<signed char>(peak < 0 ? -peak : peak);
        if (size > largest) largest = size;
    }
    return largest;
}

std::vector<FrameRange> ChooseSeconds(const LoudSeconds& seconds, int nativeRate) {
    std::vector<FrameRange> chosen;
    const auto add = [&](long long position) {
        const FrameRange second{position, position + nativeRate};
        for (const FrameRange& other : chosen) {
            if (Overlap(second, other)) return false;
        }
        chosen.push_back(second);
        return true;
    };
    if (!seconds.byRms.InOrder().empty()) add(seconds.byRms.InOrder().front().position);
    for (const auto& window : seconds.byPeak.InOrder()) {
        if (add(window.position)) break;
    }
    if (chosen.empty()) add(0);
    return chosen;
}

}  // namespace detail

std::optional<std::vector<FrameRange>> SearchedSeconds(const MediaAudioStream& stream) {
    std::vector<FrameRange> segments;
    if (stream.ConformedSampleCount() <= stream.ConformedSampleRate()) {
        segments.resize(1);
        segments[0].end = stream.NativeSampleCount();
    } else {
        const std::optional<detail::LoudSeconds> seconds = FindLoudSeconds(stream);
        if (!seconds) return std::nullopt;
        segments = detail::ChooseSeconds(*seconds, stream.NativeSampleRate());
    }
    // A native rate of 0 has no ratio; such a segment cannot be read either.
    if (stream.ConformedSampleRate() != stream.NativeSampleRate() &&
        stream.NativeSampleRate() > 0) {
        ConvertToConformedRate(stream, segments);
    }
    SortWithoutRepeats(segments);
    return segments;
}

}  // namespace orlo::sonrel
