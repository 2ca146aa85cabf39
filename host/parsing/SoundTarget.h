// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

/// Levels and pans of other programs, which store factors and times of the media.
namespace orlo::host::otio {

/// The settings of a clip, nested item or track that the effects of other programs change.
struct SoundTarget {
    SourceLocation place;
    Level* level = nullptr;
    std::optional<float>* pan = nullptr;  ///< from -1, left, to 1, right
    bool* muted = nullptr;
    Fades* fades = nullptr;     ///< null for a track
    double startSeconds = 0.0;  ///< time of the media at which the owner begins
    double mediaSeconds = 0.0;  ///< start of the available range of the media
    double seconds = 0.0;       ///< length of the owner; 0 when unknown
    double speed = 1.0;         ///< above 0
    bool isPicture = false;     ///< on a video track
};

/// The target of a clip or nested item, whose speed is already known.
SoundTarget TargetOf(Item& item);

/// The target of a track.
SoundTarget TargetOf(Track& track);

/// A factor at a time, in seconds from the beginning of the owner.
struct GainKey {
    double seconds = 0.0;
    double gain = 1.0;
};

/// The time from the beginning of the owner at which a time of its media is heard. Programs count
/// it from the timecode of the media or from the first frame.
double SecondsFromStart(const SoundTarget& target, double mediaTime);

/// The same for a time that counts from the first frame of the media.
double SecondsFromStartOfClip(const SoundTarget& target, double secondsFromFirstFrame);

/// Adds a factor to the level. A factor of 0 is reported, because the owner is silent.
void AddGain(const SoundTarget& target, double gain, ImportReport& report);

/// Adds factors to the level, which are interpolated linearly. The keys may have any order.
void AddGains(const SoundTarget& target, std::vector<GainKey> keys, ImportReport& report);

/// Adds decibels, or keys, to the level that earlier effects set. Of two levels with keys the first
/// is used.
void AddLevel(const SoundTarget& target, const Level& more, ImportReport& report);

/// Sets the pan. A value outside -1 to 1 is reported and ignored.
void SetPan(const SoundTarget& target, double pan, ImportReport& report);

/// Reports a pan that changes, of which the first value is used.
void NoteMovingPan(const SoundTarget& target, ImportReport& report);

/// Makes a pan that all clips of a track share the balance of the track, in nested items too. Any
/// other pan is reported. The sides of the halves of stereo clips are known and are not pans.
void SharePans(std::vector<Track>& tracks, ImportReport& report);

}  // namespace orlo::host::otio
