// SPDX-License-Identifier: MIT
#include "host/waveform/ClippedStretches.h"

#include <algorithm>
#include <cmath>

#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/cache/PeakFile.h"

namespace orlo::host {

namespace {

using sonrel::PeakFile;
using zrtl::FrameRange;

constexpr signed char FULL_SCALE = 127;
constexpr long long BLOCK_SAMPLES = PeakFile::SAMPLES_PER_BLOCK;

/// Whether a block reaches full scale. Beyond it the byte wraps: a minimum above 0 and a maximum
/// below 0 exist in no other block.
bool IsClipped(signed char minimum, signed char maximum) {
    return maximum == FULL_SCALE || maximum < 0 || minimum <= -FULL_SCALE || minimum > 0;
}

/// Adds a stretch, or extends the last stretch that it touches.
void AddStretch(std::vector<FrameRange>& stretches, long long start, long long end) {
    if (!stretches.empty() && stretches.back().end >= start) {
        stretches.back().end = end;
    } else {
        stretches.push_back({start, end});
    }
}

/// Adds the clipped blocks of some blocks that follow each other.
void AddBlocks(const std::vector<signed char>& peaks, long long firstBlock, long long endSample,
               ChannelStretches& stretches) {
    const signed char* limits = peaks.data();
    const auto blocks =
        static_cast<long long>(peaks.size() / 2 / std::max<std::size_t>(1, stretches.size()));
    for (long long block = firstBlock; block < firstBlock + blocks; ++block) {
        const long long end = std::min((block + 1) * BLOCK_SAMPLES, endSample);
        for (std::vector<FrameRange>& channel : stretches) {
            if (IsClipped(limits[0], limits[1])) AddStretch(channel, block * BLOCK_SAMPLES, end);
            limits += 2;
        }
    }
}

}  // namespace

ChannelStretches ClippedBlocks(const PeakSource& source, const FrameRange& range) {
    // Limits the memory for a stream of any length.
    constexpr int BLOCKS_AT_ONCE = 65536;
    ChannelStretches stretches(static_cast<std::size_t>(source.channels));
    PeakFile file;
    bool isRead = file.Open(WidePath(source.peakFile)) && file.ChannelCount() == source.channels;
    const auto end = static_cast<int>(std::min<long long>(
        (range.end + BLOCK_SAMPLES - 1) / BLOCK_SAMPLES, isRead ? file.BlockCount() : 0));
    auto block = static_cast<int>(range.start / BLOCK_SAMPLES);
    while (isRead && block < end) {
        const int next = std::min(end, block + BLOCKS_AT_ONCE);
        std::vector<signed char> peaks;
        isRead = file.GetChannelPeaks(block, next, 1.0, peaks) == PeakFile::Result::Ok;
        AddBlocks(peaks, block, source.samples, stretches);
        block = next;
    }
    if (!isRead) {
        throw JobError("cannot draw " + Quoted(source.media) +
                       ": its peak file is truncated; run "
                       "the command again to recreate it");
    }
    return stretches;
}

ChannelStretches ClippedSamples(const StreamSamples& samples, long long start) {
    ChannelStretches stretches(samples.channels.size());
    for (std::size_t channel = 0; channel < stretches.size(); ++channel) {
        for (long long i = 0; i < samples.count; ++i) {
            const double value = samples.channels[channel][static_cast<std::size_t>(i)];
            if (std::abs(value) >= 1.0) AddStretch(stretches[channel], start + i, start + i + 1);
        }
    }
    return stretches;
}

long long CountStretches(const ChannelStretches& stretches) {
    long long count = 0;
    for (const auto& channel : stretches) count += static_cast<long long>(channel.size());
    return count;
}

}  // namespace orlo::host
