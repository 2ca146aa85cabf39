// SPDX-License-Identifier: MIT
#pragma once

#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "host/arrangement/Arrangement.h"
#include "host/arrangement/GridMoments.h"
#include "host/arrangement/TransitionArranger.h"
#include "host/otio/ImportReport.h"
#include "host/otio/MediaResolver.h"

namespace orlo::host::otio {

/// A range in seconds; @p end is exclusive.
struct Seconds {
    double begin = 0.0;
    double end = 0.0;
};

/// Settings that all tracks of a timeline share.
struct ArrangeRules {
    double fps = 25.0;  ///< frames of the timeline a second
    int grid = 1;       ///< frames of the engine in a frame of the timeline
    int rate = 48000;
    Retime retime = Retime::Otio;
    const MediaResolver* resolver = nullptr;
    /// Set for an arrangement that only records the times of the timeline: it rounds nothing and
    /// reads no media, and its placed tracks are meaningless.
    GridMoments* moments = nullptr;

    /// Frames of the engine a second.
    double EngineRate() const { return grid * fps; }
};

/// The frame nearest to a position.
/// @param seconds  0 or more
/// @throws DocumentError when it is beyond frame 2147483647
int CheckedFrame(double seconds, double frameRate, const SourceLocation& place);

/// Places the items of a track in frames.
class TrackArranger {
public:
    /// @param inner  the track is inside a nested item
    TrackArranger(const Track& track, bool inner, const ArrangeRules& rules, ImportReport& report);

    /// @param stackTrim  source_range of the stack that contains the track, or null
    PlacedTrack Arrange(const TimeRange* stackTrim);

    /// Length of the content of the arranged track.
    double LengthInSeconds() const { return length_; }
    /// Length of the track in its parent: the length of its range, else of its items.
    double DurationInSeconds() const { return duration_; }

private:
    /// A transition, and the items before and after it.
    struct Pending {
        const Item* item = nullptr;
        double position = 0.0;
        Neighbour before;
        Neighbour after;
    };

    /// The time of an item within the window, counted from the window's beginning, and the seconds
    /// that the window cuts off.
    struct KeptTime {
        Seconds kept;
        double cutAtStart = 0.0;
        double cutAtEnd = 0.0;
    };

    /// The content of a nested item and its length.
    struct Nested {
        std::shared_ptr<PlacedComposition> composition;
        double seconds = 0.0;
    };

    double ToSeconds(const RationalTime& time, const char* what, const SourceLocation& place);
    double OffsetSeconds(const RationalTime& time, const char* what, const SourceLocation& place);
    double Duration(const Item& item, double contentSeconds);
    double Retimed(const Item& item, double seconds) const;
    void Trim(const TimeRange* range, const SourceLocation& place);
    Nested ArrangeNested(const Item& item);
    PlacedTrack EmptyTrack() const;
    void NoteInnerTrack() const;
    void AddTransition(const Item& item, double position);
    void PlaceTransitions(PlacedTrack& placed);
    void PlaceItem(const Item& item, Seconds position,
                   std::shared_ptr<PlacedComposition> composition, PlacedTrack& placed);
    bool PlaceClip(const Item& item, Seconds position,
                   std::shared_ptr<PlacedComposition> composition, PlacedTrack& placed);
    double InPointSeconds(const Item& item, double cutSeconds, double speed);
    bool SetInPoint(const Item& item, double cutSeconds, PlacedClip& clip);
    KeptTime KeptOf(Seconds position) const;
    bool SetFrames(const Item& item, const KeptTime& time, PlacedClip& clip);
    void SetSound(const Item& item, const KeptTime& time, PlacedClip& clip);
    int Frame(double seconds, const SourceLocation& place) const;
    void MeasureClip(const Item& item, Seconds kept, double cutSeconds, double speed);
    void MeasureTransition(const Pending& pending);
    void SetFades(const Item& item, int cutIn, int cutOut, PlacedClip& clip);

    const Track& track_;
    const bool inner_;
    const ArrangeRules& rules_;
    ImportReport& report_;
    const double fallbackRate_;
    /// The part of the track's time that its trims leave.
    Seconds window_{0.0, std::numeric_limits<double>::infinity()};
    double length_ = 0.0;
    double duration_ = 0.0;
    Neighbour previous_;  ///< the item before the next item
    std::vector<Pending> pending_;
    /// Whether the last pending transition still needs the item after it.
    bool needsNextItem_ = false;
};

}  // namespace orlo::host::otio
