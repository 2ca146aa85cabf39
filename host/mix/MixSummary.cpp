// SPDX-License-Identifier: MIT
#include "host/mix/MixSummary.h"

#include "host/measure/LevelSummary.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

std::string WrittenText(long long samples, const LoudnessMeter& loudness, const FrameGrid& grid) {
    const std::optional<double> lufs = loudness.IntegratedLufs();
    return "the mix is written: " + FormatDuration(static_cast<double>(samples) / grid.rate) +
           (lufs ? ", " + FormatNumber(*lufs, 1) + " LUFS" : std::string());
}

void AddTrackClipping(const MeterSummary& meters, const FrameGrid& grid, Summary& summary) {
    const SignalSummary* first = nullptr;
    std::string label;
    long long count = 0;
    for (std::size_t i = 0; i < meters.tracks.size(); ++i) {
        const SignalSummary& track = meters.tracks[i];
        if (track.clips.empty()) continue;
        ++count;
        if (first != nullptr) continue;
        first = &track;
        label = "track " + std::to_string(i + 1) + " " + Quoted(track.name);
    }
    if (first == nullptr) return;
    const std::string clips = " clips " + ClippingText(*first, grid);
    summary.AddAttention(
        count == 1 ? label + clips : Counted(count, "track") + " clip; " + label + clips,
        "lower the levels of its clips");
}

}  // namespace

void SummarizeMix(long long samples, const LoudnessMeter& loudness, const MeterSummary* meters,
                  const FrameGrid& grid, Summary& summary) {
    summary.AddRight(WrittenText(samples, loudness, grid));
    SummarizeLevels(loudness, meters != nullptr ? &meters->master : nullptr, grid, summary);
    if (meters != nullptr) AddTrackClipping(*meters, grid, summary);
}

}  // namespace orlo::host
