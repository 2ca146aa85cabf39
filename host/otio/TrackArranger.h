// SPDX-License-Identifier: MIT
#pragma once

#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "host/otio/Arrangement.h"
#include "host/otio/ImportReport.h"
#include "host/otio/MediaResolver.h"
#include "host/otio/TransitionArranger.h"

namespace orlo::host::otio {

/// Counts the rates of durations.
class RateVote {
public:
    void Add(const Item& item);

    /// The most frequent rate; of equals, the one that came first.
    std::optional<double> Winner() const;

private:
    struct Count {
        std::size_t place = 0;
        std::size_t votes = 0;
    };

    std::map<double, Count> counts_;
};

/// A stretch of seconds; @p end is exclusive.
struct Seconds {
    double begin = 0.0;
    double end = 0.0;
};

/// What all tracks of a timeline are placed by.
struct ArrangeRules {
    double fps = 25.0;
    int rate = 48000;
    Retime retime = Retime::Otio;
    const MediaResolver* resolver = nullptr;
};

/// The frame nearest to a position.
/// @param seconds  0 or more
/// @throws DocumentError when it lies beyond the last frame number
int CheckedFrame(double seconds, double fps, const SourceLocation& place);

/// A level with its keys sorted and in milliseconds.
/// @param cutSeconds  what was taken off the owner's beginning
LevelCurve ToCurve(const Level& level, double fps, double cutSeconds, const SourceLocation& place,
                   ImportReport& report);

/// One track on its way into frames.
class TrackArranger {
public:
    /// @param inner  the track lies in a nested item
    TrackArranger(const Track& track, bool inner, const ArrangeRules& rules, ImportReport& report);

    /// @param stackTrim  the range of the stack around the track, or null
    PlacedTrack Arrange(const TimeRange* stackTrim);

    /// Length of what the arranged track holds.
    double LengthInSeconds() const { return length_; }
    /// Length of the track as its parent sees it: that of its range, else of its items.
    double DurationInSeconds() const { return duration_; }

private:
    /// A transition, and the items in front of it and behind it.
    struct Pending {
        const Item* item = nullptr;
        double position = 0.0;
        Neighbour before;
        Neighbour after;
    };

    /// What a nested item shows, and how long that is.
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
    void NoteInnerTrack() const;
    void AddTransition(const Item& item, double position);
    void PlaceTransitions(PlacedTrack& placed);
    void PlaceItem(const Item& item, Seconds position,
                   std::shared_ptr<PlacedComposition> composition, PlacedTrack& placed);
    bool PlaceClip(const Item& item, Seconds position,
                   std::shared_ptr<PlacedComposition> composition, PlacedTrack& placed);
    bool SetInPoint(const Item& item, double cutSeconds, PlacedClip& clip, int& droppedFrames);
    Fades TrimmedFades(const Item& item, int cutIn, int cutOut);

    const Track& track_;
    const bool inner_;
    const ArrangeRules& rules_;
    ImportReport& report_;
    double fallbackRate_;
    /// What is left of the track's own time after its trims, and where that time begins.
    Seconds window_{0.0, std::numeric_limits<double>::infinity()};
    double length_ = 0.0;
    double duration_ = 0.0;
    Neighbour last_;  ///< the item in front of the next one
    std::vector<Pending> pending_;
    /// Whether a transition waits for the item behind it.
    bool waits_ = false;
};

}  // namespace orlo::host::otio
