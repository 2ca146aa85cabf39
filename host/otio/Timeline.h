// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/otio/FrameRates.h"
#include "host/otio/ImportReport.h"
#include "host/otio/SoundSetting.h"

/// The values of a timeline file, neither resolved nor rounded.
namespace orlo::host::otio {

/// Range of speeds at which a source is rendered. Outside it sound is not recognisable.
constexpr double MIN_SPEED = 0.01;
constexpr double MAX_SPEED = 100.0;

/// The tracks that sound.
/// Auto: the audio tracks of a stack if there are any, else its video tracks. In a timeline with
/// audio tracks only audio tracks sound, in nested items too.
enum class AudioFrom { Auto, Audio, Video };

struct RationalTime {
    double value = 0.0;
    double rate = 0.0;  ///< exact values a second; 0 when the file has no usable rate
};

struct TimeRange {
    RationalTime start;
    RationalTime duration;
};

/// A key frame of a level.
struct LevelKey {
    double time = 0.0;
    float decibels = 0.0f;
};

/// The level of a clip or track in the file: unset, a single value, or key frames.
struct Level {
    enum class Clock { Milliseconds, Frames };

    std::optional<float> decibels;
    std::vector<LevelKey> keys;
    Clock clock =
        Clock::Milliseconds;  ///< unit of the key times, which count from the owner's start
};

/// A plugin and its parameters as the file contains them, unchecked.
struct EffectRequest {
    std::string plugin;
    /// A number, or the name of a choice.
    std::map<std::string, std::variant<double, std::string>> parameters;
    bool enabled = true;
};

/// The ducking of a track as the file contains it, unchecked.
struct DuckRequest {
    std::string by;  ///< name of the track that lowers this track
    std::map<std::string, double> parameters;
    SourceLocation place;
};

/// Lengths in frames, 0 or more; 0 means no fade.
struct Fades {
    double inFrames = 0.0;
    double outFrames = 0.0;
    std::string curve = "equal-power";
    double rate = 0.0;  ///< frames a second; 0 for frames of the timeline

    bool Exist() const { return inFrames > 0.0 || outFrames > 0.0; }
};

/// Extent of a transition over the items before and after it.
struct TransitionSpan {
    RationalTime inOffset;   ///< over the item before it
    RationalTime outOffset;  ///< over the item after it
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
    bool isPicture = false;  ///< on a video track, where media without sound are usual

    std::optional<MediaReference> media;
    std::string noMediaReason;      ///< set when a clip has no media file with sound
    bool isSilentPicture = false;   ///< its media are pictures without sound
    zrh::media::SoundChoice sound;  ///< of the media file; may contain ANY_STREAM and OfFile
    SoundSetting soundSetting;      ///< the part of the sound that our own metadata choose
    int sourceTrack = 0;            ///< channel of an FCP 7 clip, from 1; 0 for other clips
    bool isStereoHalf = false;      ///< an FCP 7 clip that says that it is half of a stereo clip
    double speed = 1.0;
    std::string speedProblem;  ///< set when the speed cannot be rendered
    Level level;
    bool muted = false;
    std::optional<float> pan;  ///< from -1, left, to 1, right
    std::vector<EffectRequest> effects;
    Fades fades;

    TransitionSpan transition;  ///< transitions only

    /// The content of a nested item; its tracks are summed.
    std::vector<Track> tracks;
};

struct Track {
    enum class Kind { Audio, Video, Other };

    /// False for a track of another kind in a nested item, which is kept because it counts for the
    /// length of the item.
    bool sounds = true;
    bool isExploded = false;  ///< half of a stereo track of FCP 7
    SoundSetting soundSetting;
    std::string name;
    SourceLocation place;
    std::optional<TimeRange> sourceRange;
    bool muted = false;
    bool solo = false;
    Level level;
    std::optional<float> stereoBalance;
    std::optional<DuckRequest> duck;
    std::vector<Item> items;
};

/// A child of the top stack, whether it sounds or not.
struct TrackSummary {
    std::string name;
    Track::Kind kind = Track::Kind::Other;
    std::string kindName;   ///< as in the file; empty for a child that is not a track
    std::size_t clips = 0;  ///< nested items included
    bool sounds = false;
};

/// The picture rates in a document, from which its frame rate is chosen.
struct RateVotes {
    std::optional<double> start;  ///< of the global_start_time
    RateVote pictures;            ///< of the items on picture tracks
    RateVote sound;               ///< of the items on audio tracks
};

struct Timeline {
    std::string name;
    std::optional<TimeRange> sourceRange;  ///< of the top stack
    std::optional<double> frameRate;       ///< in the metadata of Sonrel
    RateVotes rates;
    std::optional<int> sampleRate;
    RationalTime startTime;  ///< global_start_time; its rate is above 0 unless its value is 0
    bool dropFrame = false;  ///< a timecode in the metadata is drop-frame
    Level masterLevel;
    Track::Kind soundKind = Track::Kind::Audio;  ///< of the tracks that sound: Audio or Video
    std::vector<Track> tracks;                   ///< the tracks that sound
    std::vector<TrackSummary> allTracks;
};

}  // namespace orlo::host::otio
