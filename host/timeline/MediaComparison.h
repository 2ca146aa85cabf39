// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/arrangement/TimelineImport.h"
#include "host/timeline/Input.h"
#include "host/timeline/Positions.h"

namespace orlo::host {

/// The sound that clips use, as far as it matters to them.
struct MediaSound {
    double seconds = 0.0;
    SoundFit fit;
};

/// By path and sound. Clips of other sounds are not compared.
using MediaSounds = std::map<std::pair<std::string, zrh::media::SoundChoice>, MediaSound>;

/// The sound of imported media files.
/// @param media  conformed, except the media files without sound
MediaSounds SoundsOf(const std::vector<MediaUse>& media);

/// How many of the clips that a timeline plays have their sound. Each clip has one state.
struct ClipTally {
    int whole = 0;                ///< their media files have their whole sound
    int muted = 0;                ///< not compared
    int missing = 0;              ///< their media files are missing
    int soundless = 0;            ///< their media files do not have the sound that they use
    int beyond = 0;               ///< they ask for more than their media files have
    int unread = 0;               ///< their media files cannot be read, which fails the command
    int unreadPictures = 0;       ///< on video tracks; their files cannot be read and are reported
    double longestSilence = 0.0;  ///< of a clip that asks for more, in seconds of the timeline
    std::set<std::string> missingFiles;

    int Clips() const {
        return whole + muted + missing + soundless + beyond + unread + unreadPictures;
    }
};

/// Compares each clip with its media file, nested clips included, and reports clips that are silent
/// for more than half a millisecond because their media file has no sound there. The frames that
/// transitions play count. Muted clips are not compared with the length of their media file.
/// @param tracks      of a timeline or of a nested item
/// @param frameCount  length of the timeline or the nested item
/// @param grid        of the tracks, for the timecodes in the report
ClipTally CompareWithMedia(const std::vector<otio::PlacedTrack>& tracks, int frameCount,
                           const FrameGrid& grid, const MediaSounds& sounds,
                           otio::ImportReport& report);

}  // namespace orlo::host
