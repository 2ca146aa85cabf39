// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/otio/ImportReport.h"

/// A timeline as its file tells it: plain values, nothing resolved, nothing rounded.
namespace orlo::host::otio {

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

struct MediaReference {
    std::string url;
    std::optional<TimeRange> availableRange;
};

/// A child of a track or stack.
struct Item {
    enum class Kind { Clip, Gap, Transition, Nested, Unknown };

    Kind kind = Kind::Unknown;
    std::string schema;  ///< without its version
    std::string name;
    Place place;
    std::optional<TimeRange> sourceRange;
    bool enabled = true;

    std::optional<MediaReference> media;
    std::string noMediaReason;  ///< set where a clip has no medium that could sound
    int stream = 0;             ///< audio stream of the medium, from 0
    double speed = 1.0;
    std::string speedProblem;  ///< set where the retiming cannot be rendered
    Level level;
    bool muted = false;

    bool parallel = false;  ///< the children of a nested item sound together, not in turn
    std::vector<Item> children;
};

/// A track that is to sound.
struct Track {
    enum class Kind { Audio, Video, Other };

    std::string name;
    Place place;
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
