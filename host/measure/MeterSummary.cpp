// SPDX-License-Identifier: MIT
#include "host/measure/MeterSummary.h"

#include <algorithm>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

void CountClip(const sonrel::AudioTrackMetrics& block, long long begin, SignalSummary& signal) {
    if (!block.clipped[0] && !block.clipped[1]) return;
    if (signal.clips.empty() || signal.clips.back().span.end != begin) {
        signal.clips.push_back({{begin, begin}, {false, false}});
    }
    ClipRange& range = signal.clips.back();
    range.span.end = begin + block.sampleCount;
    for (int channel = 0; channel < 2; ++channel) {
        if (!block.clipped[channel]) continue;
        range.clipped[channel] = true;
        ++signal.clippedBlocks[channel];
    }
}

/// @param begin  timeline position of the block
void Count(const sonrel::AudioTrackMetrics& block, long long begin, SignalSummary& signal) {
    for (int channel = 0; channel < 2; ++channel) {
        signal.peak[channel] = std::max(signal.peak[channel], block.peak[channel]);
    }
    CountClip(block, begin, signal);
}

}  // namespace

MeterBlocks BlocksOf(const sonrel::AudioMixer& mixer) {
    return {mixer.MeterBlockCount(),
            [&mixer](unsigned long long index) { return mixer.MetricsForBlock(index); }};
}

MeterSummary Summarize(const MeterBlocks& blocks, const std::vector<std::string>& trackNames,
                       long long firstSample) {
    MeterSummary summary;
    summary.master.name = "master";
    for (const std::string& name : trackNames) summary.tracks.push_back({name, {}, {}, {}});
    long long begin = firstSample;
    for (unsigned long long i = 0; i < blocks.count; ++i) {
        const sonrel::AudioMetrics block = blocks.at(i);
        const std::size_t tracks = std::min(summary.tracks.size(), block.trackMetrics.size());
        for (std::size_t track = 0; track < tracks; ++track) {
            Count(block.trackMetrics[track], begin, summary.tracks[track]);
        }
        Count(block.masterMetrics, begin, summary.master);
        begin += block.masterMetrics.sampleCount;
    }
    return summary;
}

const char* ClippedChannels(const ClipRange& range) {
    if (range.clipped[0] && range.clipped[1]) return "both";
    return range.clipped[0] ? "left" : "right";
}

std::string ClippingText(const SignalSummary& signal, const FrameGrid& grid) {
    long long samples = 0;
    for (const ClipRange& range : signal.clips) samples += range.span.Count();
    const zrtl::FrameRange first = signal.clips.front().span;
    const bool isOne = signal.clips.size() == 1;
    return (isOne ? ""
                  : "at " + std::to_string(signal.clips.size()) + " places, " +
                        FormatNumber(static_cast<double>(samples) / grid.rate, 1) +
                        " s in all, first ") +
           std::string("from ") + FormatTimecode(first.start, grid) + " to " +
           FormatTimecode(first.end, grid);
}

}  // namespace orlo::host
