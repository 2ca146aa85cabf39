// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
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

struct PlacedComposition;

/// A clip or a nested item on its track. It covers the frames from startFrame up to, not including,
/// endFrame.
struct PlacedClip {
    std::string name;
    SourceLocation place;
    MediaLocation media;  ///< of a clip alone
    int stream = 0;
    int startFrame = 0;
    int endFrame = 0;
    int sourceStartFrame = 0;  ///< counted at the clip's speed, as the engine takes it
    double speed = 1.0;
    bool muted = false;
    LevelCurve level;                    ///< milliseconds from the clip's start
    std::vector<EffectRequest> effects;  ///< in the order of the chain
    Fades fades;                         ///< behind all effects; in frames
    /// What a nested item shows; empty for a clip.
    std::shared_ptr<PlacedComposition> composition;
};

/// A transition between two clips that meet, or from or to silence on the one clip's own frames.
struct PlacedTransition {
    std::string name;
    SourceLocation place;
    std::optional<std::size_t> from;  ///< index of the clip that ends; nothing for silence
    std::optional<std::size_t> to;    ///< index of the clip that begins; nothing for silence
    int joinFrame = 0;
    int relativeStartFrame = 0;  ///< counted from the join
    int length = 0;
    std::string curve;
};

struct PlacedTrack {
    std::string name;
    bool muted = false;
    bool solo = false;
    LevelCurve level;  ///< milliseconds from the timeline's start
    std::optional<float> stereoBalance;
    std::vector<PlacedClip> clips;
    std::vector<PlacedTransition> transitions;
};

/// The inside of a nested item, from its own first frame on. All of its clips sound together, and
/// of its tracks only the mute counts.
struct PlacedComposition {
    std::string schema;  ///< Stack or Track
    int frameCount = 0;
    std::vector<PlacedTrack> tracks;
};

struct Arrangement {
    double fps = 25.0;
    int rate = 48000;
    int frameCount = 0;
    LevelCurve masterLevel;
    std::vector<PlacedTrack> tracks;
};

/// What the duration of a retimed item tells: the time that it takes on its track, or how much of
/// its medium sounds, which takes that much divided by the speed.
enum class Retime { Otio, Media };

/// Rates that win over the timeline's own.
struct RateChoice {
    std::optional<double> fps;
    std::optional<int> rate;
};

/// Places the clips, nested items and transitions of a timeline.
///
/// Positions are a running sum of durations in seconds; edges are rounded to frames, durations
/// never are. A clip whose rounded edges meet is left out with a note.
/// @throws DocumentError where rates, lengths or positions are beyond what a timeline can have
Arrangement ArrangeTimeline(const Timeline& timeline, const RateChoice& choice, Retime retime,
                            const MediaResolver& resolver, ImportReport& report);

/// The first nested item of a name, outer ones before those inside them; null without one.
const PlacedClip* FindNested(const std::vector<PlacedTrack>& tracks, const std::string& name);

/// Refuses frame and sample rates that the engine cannot mix together: a frame takes at least one
/// and at most 96000 samples.
/// @throws RateError with a clause that says so
void CheckRates(double fps, int rate);

}  // namespace orlo::host::otio
