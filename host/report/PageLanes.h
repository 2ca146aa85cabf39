// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/arrangement/TimelineImport.h"
#include "host/report/ReportPage.h"
#include "host/timeline/MediaComparison.h"

namespace orlo::host {

/// The range of a timeline on a page.
struct PageRange {
    FrameGrid grid;
    double from = 0.0;  ///< seconds of the timeline
    double end = 0.0;   ///< seconds of the timeline
};

/// The lanes of a page, without waveforms, and the elements of the places in the timeline.
class PageLanes {
public:
    /// @param sounds  of the media files; clips whose sound is not listed have no mark
    PageLanes(const PageRange& range, const MediaSounds& sounds) : range_(range), sounds_(sounds) {}

    /// Adds a lane for each track of a timeline, in the order of the file. A track that does not
    /// sound has a lane without clips.
    /// @param import  outlives the lanes
    void AddTimeline(const otio::TimelineImport& import);

    /// Adds a lane for each track of a nested item.
    /// @param item  outlives the lanes
    void AddNested(const otio::PlacedClip& item);

    std::vector<PageLane>& Lanes() { return lanes_; }

    /// The name of the element of a place; of the track or nested item around it where the place
    /// has no element. Empty when no lane shows it.
    std::string ElementOf(const otio::SourceLocation& place) const;

private:
    /// Frames of a track, converted to frames of the timeline, and the stretch of the timeline on
    /// which they are shown.
    struct ShownFrames {
        double offset = 0.0;
        double scale = 1.0;
        double first = 0.0;
        double end = 0.0;

        double Of(double frame) const { return offset + scale * frame; }
        bool Shows(double from, double to) const { return Of(to) > first && Of(from) < end; }
    };

    ShownFrames Frames() const;
    void AddTracks(const std::vector<otio::PlacedTrack>& tracks, const otio::SourceLocation& owner,
                   const ShownFrames& frames, std::vector<PageLane>& lanes);
    PageLane LaneOf(const otio::PlacedTrack& track, const otio::SourceLocation& place,
                    const ShownFrames& frames);
    void AddClip(const otio::PlacedClip& clip, const ShownFrames& frames, PageLane& lane);
    void AddContent(const otio::PlacedClip& clip, const ShownFrames& frames, PageClip& shown);
    void AddTransition(const otio::PlacedTrack& track, const otio::PlacedTransition& transition,
                       const ShownFrames& frames, PageLane& lane);
    double Seconds(double frame) const;
    std::string TimesText(double start, double end) const;
    std::string NewElement(const otio::SourceLocation& place);

    PageRange range_;
    const MediaSounds& sounds_;
    std::vector<PageLane> lanes_;
    std::map<std::string, std::string> elements_;  ///< by the text of the place
    std::size_t count_ = 0;
};

}  // namespace orlo::host
