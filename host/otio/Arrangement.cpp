// SPDX-License-Identifier: MIT
#include "host/otio/Arrangement.h"

#include <algorithm>
#include <cmath>

#include "host/otio/JsonDocument.h"
#include "host/otio/TrackArranger.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

constexpr double DEFAULT_FPS = 25.0;
constexpr int DEFAULT_RATE = 48000;
constexpr int MAX_SAMPLES_PER_FRAME = 96000;
constexpr int MIN_RATE = 64;
constexpr int MAX_RATE = 768000;

std::optional<double> VotedRate(const std::vector<Track>& tracks) {
    RateVote vote;
    for (const Track& track : tracks) {
        for (const Item& item : track.items) vote.Add(item);
    }
    return vote.Winner();
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

Arrangement ArrangeTimeline(const Timeline& timeline, const RateChoice& choice, Retime retime,
                            const MediaResolver& resolver, ImportReport& report) {
    Arrangement arrangement;
    std::optional<double> fps = choice.fps ? choice.fps : timeline.frameRate;
    if (!fps) fps = VotedRate(timeline.tracks);
    arrangement.fps = fps.value_or(DEFAULT_FPS);
    arrangement.rate = choice.rate.value_or(timeline.sampleRate.value_or(DEFAULT_RATE));
    CheckRates(arrangement.fps, arrangement.rate);
    arrangement.masterLevel = ToCurve(timeline.masterLevel, arrangement.fps, 0.0, {}, report);
    const ArrangeRules rules{arrangement.fps, arrangement.rate, retime, &resolver};
    double longest = 0.0;
    for (const Track& track : timeline.tracks) {
        TrackArranger arranger(track, false, rules, report);
        arrangement.tracks.push_back(
            arranger.Arrange(timeline.sourceRange ? &*timeline.sourceRange : nullptr));
        longest = std::max(longest, arranger.LengthInSeconds());
    }
    arrangement.frameCount = CheckedFrame(longest, arrangement.fps, {});
    return arrangement;
}

}  // namespace orlo::host::otio
