// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/otio/ImportReport.h"
#include "host/otio/MediaResolver.h"
#include "host/otio/Timeline.h"

/// A timeline in whole frames, ready to be built into a project. Frames without another word are
/// frames of the engine: @c grid of them are one frame of the timeline, which people see.
namespace orlo::host::otio {

/// A level whose key frames are at whole milliseconds.
struct LevelCurve {
    struct Key {
        int timeMs = 0;
        float decibels = 0.0f;
    };

    std::optional<float> decibels;
    std::vector<Key> keys;
};

struct PlacedComposition;

/// A clip or a nested item on its track. It covers the frames from startFrame (included) to
/// endFrame (excluded).
struct PlacedClip {
    std::string name;
    SourceLocation place;
    MediaLocation media;            ///< clips only
    zrh::media::SoundChoice sound;  ///< may contain ANY_STREAM and OfFile
    int startFrame = 0;
    int endFrame = 0;
    int sourceStartFrame = 0;  ///< in-point, already divided by the clip's speed
    /// Silence that the clip asks for: before startFrame, and from startFrame for an unheard clip.
    int framesBeforeMedia = 0;
    double speed = 1.0;
    bool muted = false;
    bool isPicture = false;              ///< on a video track
    LevelCurve level;                    ///< key times in milliseconds from the clip's start
    std::vector<EffectRequest> effects;  ///< in the order of the chain
    Fades fades;                         ///< in frames; applied after all effects
    /// The content of a nested item; null for a clip.
    std::shared_ptr<PlacedComposition> composition;
};

/// A transition between two adjacent clips, or a fade of a single clip from or to silence, on the
/// frames of that clip.
struct PlacedTransition {
    std::string name;
    SourceLocation place;
    std::optional<std::size_t> from;  ///< index of the clip that ends; unset for silence
    std::optional<std::size_t> to;    ///< index of the clip that begins; unset for silence
    int joinFrame = 0;
    int relativeStartFrame = 0;  ///< counted from the join
    int length = 0;
    std::string curve;
};

struct PlacedTrack {
    std::string name;
    bool muted = false;
    bool solo = false;
    LevelCurve level;  ///< key times in milliseconds from the timeline's start
    std::optional<float> stereoBalance;
    std::optional<DuckRequest> duck;
    std::vector<PlacedClip> clips;
    std::vector<PlacedTransition> transitions;
    std::vector<PlacedClip> unheard;  ///< clips and nested items that end before their media
};

/// The content of a nested item, from its first frame. All clips are summed. Of the values of an
/// inner track only the mute applies.
struct PlacedComposition {
    std::string schema;  ///< Stack or Track
    int frameCount = 0;
    std::vector<PlacedTrack> tracks;
};

struct Arrangement {
    double fps = 25.0;  ///< frames of the timeline a second
    int grid = 1;       ///< frames of the engine in a frame of the timeline
    int rate = 48000;
    int frameCount = 0;
    long long startFrame = 0;  ///< frame number of the timecode at which the timeline starts
    bool dropFrame = false;    ///< timecodes are drop-frame
    LevelCurve masterLevel;
    std::vector<PlacedTrack> tracks;

    /// Frames of the engine a second.
    double EngineRate() const { return grid * fps; }
};

/// Meaning of the duration of a retimed item.
/// Otio: the time that the item takes on its track.
/// Media: the duration of the source that sounds; the item takes that duration divided by its
/// speed.
enum class Retime { Otio, Media };

/// Returns the highest frame rate of the engine for a sample rate.
using GridLimit = std::function<double(int rate)>;

/// Rates that take precedence over the rates of the timeline.
struct RateChoice {
    std::optional<double> fps;
    std::optional<int> rate;
    std::optional<int> grid = std::nullopt;
    GridLimit gridLimit = nullptr;  ///< null: only the limits of the engine
};

/// The settings of an arrangement.
struct ArrangeSettings {
    double fps;               ///< frame rate of the timeline
    const RateChoice& rates;  ///< its sample rate and grid take precedence
    Retime retime = Retime::Otio;
};

/// Places the clips, nested items and transitions of a timeline.
///
/// Positions are a running sum of durations in seconds. Edges are rounded to frames; durations are
/// never rounded. A clip whose rounded edges are equal is left out and reported.
///
/// The grid is the smallest on which nothing moves by more than half a millisecond (GridMoments),
/// up to 1000 frames a second. Larger shifts are reported together.
/// @throws DocumentError when a rate, length or position is out of range
Arrangement ArrangeTimeline(const Timeline& timeline, const ArrangeSettings& settings,
                            const MediaResolver& resolver, ImportReport& report);

/// The first nested item with this name, outer items before inner items; null if none exists.
const PlacedClip* FindNested(const std::vector<PlacedTrack>& tracks, const std::string& name);

/// Refuses a frame rate and a sample rate that the engine cannot combine: a frame must have from 1
/// to 96000 samples.
/// @throws RateError with the reason as a clause
void CheckRates(double fps, int rate);

}  // namespace orlo::host::otio
