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

/// Finds the most frequent rate of durations.
class RateVote {
public:
    void Add(const Item& item);

    /// The most frequent rate; of equal counts the rate that was added first.
    std::optional<double> Winner() const;

private:
    struct Count {
        std::size_t place = 0;
        std::size_t votes = 0;
    };

    std::map<double, Count> counts_;
};

/// A range in seconds; @p end is exclusive.
struct Seconds {
    double begin = 0.0;
    double end = 0.0;
};

/// Settings that all tracks of a timeline share.
struct ArrangeRules {
    double fps = 25.0;
    int rate = 48000;
    Retime retime = Retime::Otio;
    const MediaResolver* resolver = nullptr;
};

/// The frame nearest to a position.
/// @param seconds  0 or more
/// @throws DocumentError when it is beyond frame 2147483647
int CheckedFrame(double seconds, double fps, const SourceLocation& place);

/// Converts a level: sorts its keys and converts their times to milliseconds.
/// @param cutSeconds  time that a trim cut off the beginning of the owner
LevelCurve ToCurve(const Level& level, double fps, double cutSeconds, const SourceLocation& place,
                   ImportReport& report);

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
