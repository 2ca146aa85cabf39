// SPDX-License-Identifier: MIT
#include "host/arrangement/Arrangement.h"

#include <algorithm>
#include <cmath>

#include "host/arrangement/GridChoice.h"
#include "host/arrangement/LevelCurves.h"
#include "host/arrangement/TrackArranger.h"
#include "host/otio/JsonDocument.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

constexpr int DEFAULT_RATE = 48000;
constexpr int MAX_SAMPLES_PER_FRAME = 96000;
constexpr int MIN_RATE = 64;
constexpr int MAX_RATE = 768000;

/// @return length of the longest track in seconds
double ArrangeTracks(const Timeline& timeline, const ArrangeRules& rules, ImportReport& report,
                     std::vector<PlacedTrack>& placed) {
    double longest = 0.0;
    for (const Track& track : timeline.tracks) {
        TrackArranger arranger(track, false, rules, report);
        placed.push_back(arranger.Arrange(timeline.sourceRange ? &*timeline.sourceRange : nullptr));
        longest = std::max(longest, arranger.LengthInSeconds());
    }
    return longest;
}

/// The times of a timeline, from an arrangement that places nothing.
GridMoments Measure(const Timeline& timeline, ArrangeRules rules) {
    static const SourceLocation WHOLE_TIMELINE;
    GridMoments moments;
    ImportReport discarded;
    std::vector<PlacedTrack> placed;
    rules.moments = &moments;
    const double seconds = ArrangeTracks(timeline, rules, discarded, placed);
    moments.Add(seconds, WHOLE_TIMELINE);
    return moments;
}

}  // namespace

void CheckRates(double fps, int rate) {
    if (rate < MIN_RATE || rate > MAX_RATE) {
        throw RateError("a sample rate of " + std::to_string(rate) + " Hz is outside 64 to 768000");
    }
    const double samples = std::floor(rate / fps);
    if (samples >= 1.0 && samples <= MAX_SAMPLES_PER_FRAME) return;
    throw RateError("a frame rate of " + FormatShort(fps) + " cannot be combined with " +
                    std::to_string(rate) + " Hz: a frame must have 1 to 96000 samples");
}

const PlacedClip* FindNested(const std::vector<PlacedTrack>& tracks, const std::string& name) {
    std::vector<const std::vector<PlacedTrack>*> level{&tracks};
    while (!level.empty()) {
        std::vector<const std::vector<PlacedTrack>*> inside;
        for (const std::vector<PlacedTrack>* list : level) {
            for (const PlacedTrack& track : *list) {
                for (const PlacedClip& clip : track.clips) {
                    if (clip.composition == nullptr) continue;
                    if (clip.name == name) return &clip;
                    inside.push_back(&clip.composition->tracks);
                }
            }
        }
        level = std::move(inside);
    }
    return nullptr;
}

Arrangement ArrangeTimeline(const Timeline& timeline, const ArrangeSettings& settings,
                            const MediaResolver& resolver, ImportReport& report) {
    const auto& [fps, choice, retime] = settings;
    Arrangement arrangement;
    arrangement.fps = fps;
    arrangement.rate = choice.rate.value_or(timeline.sampleRate.value_or(DEFAULT_RATE));
    CheckRates(fps, arrangement.rate);
    ArrangeRules rules{fps, 1, arrangement.rate, retime, &resolver, nullptr};
    const GridMoments moments = Measure(timeline, rules);
    const GridChoice grid = ChooseGrid(moments, fps, arrangement.rate, choice);
    CheckRates(grid.factor * fps, arrangement.rate);
    rules.grid = grid.factor;
    arrangement.grid = grid.factor;
    arrangement.masterLevel = ToCurve(timeline.masterLevel, fps, 0.0, {}, report);
    const double seconds = ArrangeTracks(timeline, rules, report, arrangement.tracks);
    arrangement.frameCount = CheckedFrame(seconds, rules.EngineRate(), {});
    ReportShifts(moments, grid, rules.EngineRate(), report);
    return arrangement;
}

}  // namespace orlo::host::otio
