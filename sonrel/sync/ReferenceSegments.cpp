// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/ReferenceSegments.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <tuple>

#include "sonrel/base/Numbers.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/sync/detail/Fft.h"
#include "sonrel/sync/detail/FrameReader.h"

namespace orlo::sonrel::detail {
namespace {

using project::MediaAsset;
using project::MediaAudioStream;

int SmallestTransform(int sampleRate) {
    const std::int64_t minPoints = 5 * static_cast<std::int64_t>(sampleRate);
    unsigned int points = 1;
    while (points < minPoints && points < MAX_TRANSFORM_POINTS) points *= 2;
    return static_cast<int>(points);
}

/// Native position of a block, in 32 bits that wrap: recordings of over twelve hours repeat their
/// positions.
long long WindowPosition(int block, int samplesPerBlock) {
    const std::uint32_t position =
        static_cast<std::uint32_t>(block) * static_cast<std::uint32_t>(samplesPerBlock);
    return static_cast<std::int32_t>(position);
}

/// Adds one window to the lists. @return false when the file ends before the end of the window
bool AddWindow(PeakFile& file, int first, int end, LoudSeconds& seconds) {
    const long long position = WindowPosition(first, file.SamplesPerBlock());
    std::vector<unsigned char> amplitudes;
    if (file.GetRMSAmplitude(first, end, end - first, amplitudes) != PeakFile::Result::Ok ||
        amplitudes.size() != 1) {
        return false;
    }
    if (amplitudes[0] != 0) seconds.byRms.Add(amplitudes[0], position);
    std::vector<signed char> peaks;
    if (file.GetChannelPeaks(first, end, end - first, peaks) != PeakFile::Result::Ok) return false;
    const signed char peak = LargestPeak(peaks);
    if (peak > 0) seconds.byPeak.Add(peak, position);
    return true;
}

/// Reads the peak file in windows of a second that overlap by half.
std::optional<LoudSeconds> FindLoudSeconds(const MediaAudioStream& stream) {
    PeakFile file;
    if (!file.Open(stream.WaveformPeakFilePath())) return std::nullopt;
    LoudSeconds seconds;
    const int blocksPerSecond = stream.NativeSampleRate() / file.SamplesPerBlock();
    const int step = blocksPerSecond / 2;
    if (step < 1) return seconds;  // below 64 Hz a second has no halves
    for (std::int64_t first = 0; first < file.BlockCount(); first += step) {
        const auto end = std::min<std::int64_t>(first + blocksPerSecond, file.BlockCount());
        if (!AddWindow(file, static_cast<int>(first), static_cast<int>(end), seconds)) break;
    }
    return seconds;
}

bool Overlap(const ReferenceSegment& a, const ReferenceSegment& b) {
    return !(a.start + a.length <= b.start || b.start + b.length <= a.start);
}

void ConvertToConformedRate(const MediaAudioStream& stream, std::vector<ReferenceSegment>& set) {
    const int rate = stream.ConformedSampleRate();
    const double ratio = static_cast<double>(rate) / stream.NativeSampleRate();
    for (ReferenceSegment& segment : set) {
        segment.start = zrtl::TruncToInt64(static_cast<double>(segment.start) * ratio);
        segment.length = rate;
        if (segment.start < 0) segment.start = 0;
        if (segment.start + rate > stream.ConformedSampleCount()) {
            segment.start = stream.ConformedSampleCount() - rate;
        }
    }
}

void SortWithoutRepeats(std::vector<ReferenceSegment>& segments) {
    const auto key = [](const ReferenceSegment& s) { return std::tie(s.start, s.length); };
    std::sort(segments.begin(), segments.end(),
              [&](const auto& a, const auto& b) { return key(a) < key(b); });
    segments.erase(std::unique(segments.begin(), segments.end(),
                               [&](const auto& a, const auto& b) { return key(a) == key(b); }),
                   segments.end());
}

/// The positions of the segments. @return nullopt when the peak file is needed and cannot be opened
std::optional<std::vector<ReferenceSegment>> PlaceSegments(const MediaAudioStream& stream) {
    std::vector<ReferenceSegment> segments;
    if (stream.ConformedSampleCount() <= stream.ConformedSampleRate()) {
        segments.resize(1);
        segments[0].length = stream.NativeSampleCount();
    } else {
        const std::optional<LoudSeconds> seconds = FindLoudSeconds(stream);
        if (!seconds) return std::nullopt;
        segments = ChooseSegments(*seconds, stream.NativeSampleRate());
    }
    // A native rate of 0 has no ratio; such a segment cannot be read either.
    if (stream.ConformedSampleRate() != stream.NativeSampleRate() &&
        stream.NativeSampleRate() > 0) {
        ConvertToConformedRate(stream, segments);
    }
    SortWithoutRepeats(segments);
    return segments;
}

void ReadSegment(const AudioMixer& mixer, const std::shared_ptr<MediaAsset>& reference,
                 int transformSize, ReferenceSegment& segment) {
    if (segment.length < 1 || segment.length > transformSize) return;
    const auto length = static_cast<int>(segment.length);
    FrameBuffer frames;
    if (ReadFrames(mixer, reference, segment.start, length, frames) != length) return;
    ChannelPair<std::vector<float>> samples;
    SplitStereo(frames.data(), length, 0, transformSize - length, samples, segment.norms);
    for (const Channel channel : {Channel::Left, Channel::Right}) {
        if (!(static_cast<double>(segment.norms[channel]) > SILENCE_THRESHOLD)) continue;
        SpectrumOf(samples[channel].data(), static_cast<unsigned int>(transformSize),
                   segment.spectra[channel]);
    }
}

}  // namespace

signed char LargestPeak(const std::vector<signed char>& peaks) {
    signed char largest = 0;
    for (const signed char peak : peaks) {
        const auto size = static_cast<signed char>(peak < 0 ? -peak : peak);
        if (size > largest) largest = size;
    }
    return largest;
}

std::vector<ReferenceSegment> ChooseSegments(const LoudSeconds& seconds, int nativeRate) {
    std::vector<ReferenceSegment> segments;
    const auto add = [&](long long position) {
        ReferenceSegment segment;
        segment.start = position;
        segment.length = nativeRate;
        for (const ReferenceSegment& other : segments) {
            if (Overlap(segment, other)) return false;
        }
        segments.push_back(segment);
        return true;
    };
    if (!seconds.byRms.InOrder().empty()) add(seconds.byRms.InOrder().front().position);
    for (const auto& window : seconds.byPeak.InOrder()) {
        if (add(window.position)) break;
    }
    if (segments.empty()) add(0);
    return segments;
}

ReferenceSet CollectReferenceSegments(const AudioMixer& mixer,
                                      const std::shared_ptr<MediaAsset>& reference) {
    const MediaAudioStream& stream = *reference->AudioStream();
    ReferenceSet set;
    std::optional<std::vector<ReferenceSegment>> segments = PlaceSegments(stream);
    if (!segments) return set;
    set.segments = std::move(*segments);
    set.sampleRate = stream.ConformedSampleRate();
    set.transformSize = SmallestTransform(set.sampleRate);
    set.blockSize = 2 * set.sampleRate;
    const auto twiddles = HoldTwiddles(static_cast<unsigned int>(set.transformSize));
    for (ReferenceSegment& segment : set.segments) {
        ReadSegment(mixer, reference, set.transformSize, segment);
    }
    return set;
}

}  // namespace orlo::sonrel::detail
