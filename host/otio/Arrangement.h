// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/otio/ImportReport.h"
#include "host/otio/MediaResolver.h"
#include "host/otio/Timeline.h"

/// A timeline in whole frames, as the project takes it over.
namespace orlo::host::otio {

/// A level whose key frames lie on milliseconds.
struct LevelCurve {
    struct Key {
        int timeMs = 0;
        float decibels = 0.0f;
    };

    std::optional<float> decibels;
    std::vector<Key> keys;
};

/// A clip on its track. It covers the frames from startFrame up to, not including, endFrame.
struct PlacedClip {
    std::string name;
    Place place;
    MediaLocation media;
    int stream = 0;
    int startFrame = 0;
    int endFrame = 0;
    int sourceStartFrame = 0;  ///< counted at the clip's speed, as the engine takes it
    double speed = 1.0;
    bool muted = false;
    LevelCurve level;  ///< milliseconds from the clip's start
};

struct PlacedTrack {
    std::string name;
    bool muted = false;
    bool solo = false;
    LevelCurve level;  ///< milliseconds from the timeline's start
    std::optional<float> stereoBalance;
    std::vector<PlacedClip> clips;
};

struct Arrangement {
    double fps = 25.0;
    int rate = 48000;
    int frameCount = 0;
    LevelCurve masterLevel;
    std::vector<PlacedTrack> tracks;
};

/// Rates that win over the timeline's own.
struct RateChoice {
    std::optional<double> fps;
    std::optional<int> rate;
};

/// Places the clips of a timeline.
///
/// Positions are a running sum of durations in seconds; edges are rounded to frames, durations
/// never are. A clip whose rounded edges meet is left out with a note.
/// @throws DocumentError where rates, lengths or positions are beyond what a timeline can have
Arrangement ArrangeTimeline(const Timeline& timeline, const RateChoice& choice,
                            const MediaResolver& resolver, ImportReport& report);

/// Refuses frame and sample rates that the engine cannot mix together: a frame takes at least one
/// and at most 96000 samples.
/// @throws RateError with a clause that says so
void CheckRates(double fps, int rate);

}  // namespace orlo::host::otio
