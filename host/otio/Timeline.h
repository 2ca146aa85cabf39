// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/otio/ImportReport.h"

/// A timeline as its file tells it: plain values, nothing resolved, nothing rounded.
namespace orlo::host::otio {

/// Speeds at which the engine reads a source. Beyond them nothing could be recognised any more.
constexpr double MIN_SPEED = 0.01;
constexpr double MAX_SPEED = 100.0;

struct RationalTime {
    double value = 0.0;
    double rate = 0.0;  ///< values a second; 0 where the file has no usable rate
};

struct TimeRange {
    RationalTime start;
    RationalTime duration;
};

/// A level over time.
struct LevelKey {
    double time = 0.0;
    float decibels = 0.0f;
};

/// What a file says about the level of a clip or track: nothing, one value, or key frames.
struct Level {
    enum class Clock { Milliseconds, Frames };

    std::optional<float> decibels;
    std::vector<LevelKey> keys;
    Clock clock = Clock::Milliseconds;  ///< what the keys' times count, from the owner's start
};

/// A plugin with its parameters, as the file asks for it: nothing of it is checked.
struct EffectRequest {
    std::string plugin;
    /// A number, or the word for one of several choices.
    std::map<std::string, std::variant<double, std::string>> parameters;
    bool enabled = true;
};

/// Lengths in frames of the timeline, 0 or more; 0 is no fade.
struct Fades {
    double inFrames = 0.0;
    double outFrames = 0.0;
    std::string curve = "equal-power";
};

/// How far a transition reaches over the items on its two sides.
struct TransitionSpan {
    RationalTime inOffset;   ///< over the item before it
    RationalTime outOffset;  ///< over the item behind it
    std::string type;
    std::string curve = "equal-power";
};

struct MediaReference {
    std::string url;
    std::optional<TimeRange> availableRange;
};

struct Track;

/// A child of a track or stack.
struct Item {
    enum class Kind { Clip, Gap, Transition, Nested, Unknown };

    Kind kind = Kind::Unknown;
    std::string schema;  ///< without its version
    std::string name;
    SourceLocation place;
    std::optional<TimeRange> sourceRange;
    bool enabled = true;

    std::optional<MediaReference> media;
    std::string noMediaReason;  ///< set where a clip has no medium that could sound
    int stream = 0;             ///< audio stream of the medium, from 0
    double speed = 1.0;
    std::string speedProblem;  ///< set where the retiming cannot be rendered
    Level level;
    bool muted = false;
    std::vector<EffectRequest> effects;
    Fades fades;

    TransitionSpan transition;  ///< of a transition alone

    /// What a nested item shows: its tracks sound together.
    std::vector<Track> tracks;
};

struct Track {
    enum class Kind { Audio, Video, Other };

    /// A nested item keeps tracks of another kind too, since its length may be theirs.
    bool sounds = true;
    std::string name;
    SourceLocation place;
    std::optional<TimeRange> sourceRange;
    bool muted = false;
    bool solo = false;
    Level level;
    std::optional<float> stereoBalance;
    std::vector<Item> items;
};

struct Timeline {
    std::string name;
    std::optional<TimeRange> sourceRange;  ///< of the top stack
    std::optional<double> frameRate;
    std::optional<int> sampleRate;
    Level masterLevel;
    std::vector<Track> tracks;
};

}  // namespace orlo::host::otio
