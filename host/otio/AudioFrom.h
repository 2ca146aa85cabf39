// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

/// The choice of the tracks that sound.
namespace orlo::host::otio {

/// The tracks of a stack that sound.
struct SoundRule {
    AudioFrom from = AudioFrom::Auto;  ///< rule for the stacks in its items
    /// Audio or Video. For the items of a track, the kind of that track.
    Track::Kind kind = Track::Kind::Audio;
};

/// The kind of a track, whose name may be in upper and lower case. A track without a kind is a
/// video track.
Track::Kind KindOfTrack(const Json& track);

bool HasAudioTrack(const Json::Items& children);

/// @param hasAudioTrack  whether the stack has one
SoundRule MakeSoundRule(AudioFrom from, bool hasAudioTrack);

SoundRule RuleOfStack(const Json::Items& children, AudioFrom from);

/// Reports a clip on a video track whose media has no sound. All such clips share an entry.
void NoteSilentPicture(const SourceLocation& place, ImportReport& report);

}  // namespace orlo::host::otio
