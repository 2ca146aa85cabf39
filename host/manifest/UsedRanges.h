// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/json/Json.h"
#include "host/timeline/ClipFrames.h"
#include "host/timeline/Positions.h"

namespace orlo::host {

/// The ranges of each media file that a mix plays, by path and sound: in seconds, in order, those
/// that touch or overlap joined.
class UsedRanges {
public:
    /// The ranges that the clips of tracks play, nested clips and transitions included. Muted clips
    /// and tracks count.
    /// @param span  the range that is mixed
    UsedRanges(const std::vector<otio::PlacedTrack>& tracks, const FrameGrid& grid,
               const zrtl::FrameRange& span);

    /// The ranges as a list of `from` and `to`.
    Json Of(const std::string& path, const zrh::media::SoundChoice& sound) const;

    /// A single range of a media file that is mixed without a timeline.
    static Json OfSpan(const zrtl::FrameRange& span, int rate);

private:
    void Add(const std::vector<otio::PlacedTrack>& tracks, const Stretch& window);
    void Add(const otio::PlacedClip& clip, const Stretch& played);

    double engineRate_;
    std::map<std::pair<std::string, zrh::media::SoundChoice>, std::vector<Stretch>> frames_;
};

}  // namespace orlo::host
