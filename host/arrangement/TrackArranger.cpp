// SPDX-License-Identifier: MIT
#include "host/arrangement/TrackArranger.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "host/arrangement/LevelCurves.h"
#include "host/otio/AudioFrom.h"
#include "host/otio/JsonDocument.h"
#include "host/shell/Text.h"
#include "sonrel/base/Timing.h"

namespace orlo::host::otio {

namespace {

/// Rates above this are time scales, such as sample rates.
constexpr double MAX_VOTING_RATE = 240.0;

/// The range that determines the length of an item: its source_range, else the available_range of
/// its media.
const TimeRange* Extent(const Item& item) {
    if (item.sourceRange) return &*item.sourceRange;
    if (item.media && item.media->availableRange) return &*item.media->availableRange;
    return nullptr;
}

/// Kind of an item with sound, for the report.
std::string KindText(const Item& item) {
    return item.kind == Item::Kind::Nested ? "nested " + item.schema : "clip";
}

/// A clip without its frames and its sound.
PlacedClip ClipOf(const Item& item) {
    PlacedClip clip;
    clip.name = item.name;
    clip.place = item.place;
    clip.sound = item.sound;
    clip.isPicture = item.isPicture;
    clip.speed = item.speedProblem.empty() ? item.speed : 1.0;
    clip.muted = item.muted || !item.enabled || !item.speedProblem.empty();
    return clip;
}

/// The most frequent rate of the durations on a track, without time scales.
std::optional<double> FrequentRate(const Track& track) {
    RateVote vote;
    for (const Item& item : track.items) {
        const bool votes = item.kind == Item::Kind::Clip || item.kind == Item::Kind::Gap ||
                           item.kind == Item::Kind::Nested;
        const TimeRange* extent = Extent(item);
        if (!votes || extent == nullptr) continue;
        if (extent->duration.rate <= MAX_VOTING_RATE) vote.Add(extent->duration.rate);
    }
    return vote.Winner();
}

bool IsSet(const Level& level) {
    return level.decibels.has_value() || !level.keys.empty();
}

}  // namespace

int CheckedFrame(double seconds, double frameRate, const SourceLocation& place) {
    const double frame = zrtl::RoundHalfAway(seconds * frameRate);
    if (!(frame <= std::numeric_limits<int>::max())) {
        throw DocumentError(OneLine(ToText(place)) + ": it ends beyond frame 2147483647");
    }
    return static_cast<int>(frame);
}

TrackArranger::TrackArranger(const Track& track, bool inner, const ArrangeRules& rules,
                             ImportReport& report)
    : track_(track),
      inner_(inner),
      rules_(rules),
      report_(report),
      fallbackRate_(FrequentRate(track).value_or(rules.fps)) {}

double TrackArranger::ToSeconds(const RationalTime& time, const char* what,
                                const SourceLocation& place) {
    double rate = time.rate;
    if (rate == 0.0) {
        rate = fallbackRate_;
        report_.Add(std::string("rate of the ") + what, place,
                    "it is 0 or not a number; " + FormatShort(rate) + " is used");
    }
    return time.value / rate;
}

/// The time of an item on its track. With Retime::Media, the duration divided by the speed.
double TrackArranger::Retimed(const Item& item, double seconds) const {
    const double speed = std::abs(item.speed);
    const bool isSpeed = speed >= MIN_SPEED && speed <= MAX_SPEED;
    return rules_.retime == Retime::Media && isSpeed ? seconds / speed : seconds;
}

/// @param contentSeconds  length of the content of a nested item
double TrackArranger::Duration(const Item& item, double contentSeconds) {
    const TimeRange* extent = Extent(item);
    if (extent == nullptr) {
        if (item.kind == Item::Kind::Nested) return Retimed(item, contentSeconds);
        if (item.kind == Item::Kind::Clip) {
            report_.Add("clip", item.place,
                        "it has neither a source_range nor an available_range and is left out",
                        Severity::Silence);
        }
        return 0.0;
    }
    const double seconds = ToSeconds(extent->duration, "duration", item.place);
    if (seconds < 0.0) {
        report_.Add("negative duration", item.place, "it counts as 0");
        return 0.0;
    }
    return Retimed(item, seconds);
}

void TrackArranger::Trim(const TimeRange* range, const SourceLocation& place) {
    if (range == nullptr) return;
    const double duration = ToSeconds(range->duration, "duration", place);
    if (!(duration > 0.0)) return;
    // The range counts from the beginning that an earlier trim set.
    const double begin = window_.begin + ToSeconds(range->start, "start", place);
    window_.end = std::min(window_.end, begin + duration);
    window_.begin = begin;
    if (!std::isfinite(window_.begin)) {
        throw DocumentError(OneLine(ToText(place)) + ": source_range begins out of range");
    }
}

int TrackArranger::Frame(double seconds, const SourceLocation& place) const {
    return CheckedFrame(seconds, rules_.EngineRate(), place);
}

/// The track without its items.
PlacedTrack TrackArranger::EmptyTrack() const {
    PlacedTrack placed;
    placed.name = track_.name;
    placed.muted = track_.muted;
    if (inner_) {
        NoteInnerTrack();
        return placed;
    }
    placed.solo = track_.solo;
    placed.stereoBalance = track_.stereoBalance;
    placed.duck = track_.duck;
    placed.level = ToCurve(track_.level, rules_.fps, 0.0, track_.place, report_);
    return placed;
}

PlacedTrack TrackArranger::Arrange(const TimeRange* stackTrim) {
    PlacedTrack placed = EmptyTrack();
    Trim(track_.sourceRange ? &*track_.sourceRange : nullptr, track_.place);
    Trim(stackTrim, {});
    double position = 0.0;
    for (const Item& item : track_.items) {
        if (item.kind == Item::Kind::Transition) {
            AddTransition(item, position);
            continue;
        }
        Nested nested;
        if (item.kind == Item::Kind::Nested) nested = ArrangeNested(item);
        const double end = position + Duration(item, nested.seconds);
        Frame(end, item.place);
        if (rules_.moments != nullptr) rules_.moments->Reach(end);
        PlaceItem(item, {position, end}, std::move(nested.composition), placed);
        position = end;
    }
    PlaceTransitions(placed);
    length_ = std::max(0.0, std::min(position, window_.end) - window_.begin);
    const bool hasEnd = std::isfinite(window_.end);
    duration_ = hasEnd ? std::max(0.0, window_.end - window_.begin) : position;
    return placed;
}

/// Reports the values of a track inside a nested item that are not imported. Mute and clips are.
void TrackArranger::NoteInnerTrack() const {
    const auto note = [this](const char* what) {
        report_.Add(what, track_.place, "on a track inside a nested item it is not imported");
    };
    if (IsSet(track_.level)) note("audioLevel");
    if (track_.stereoBalance) note("stereoBalance");
    if (track_.solo) note("solo");
    if (track_.duck) note("duck");
}

TrackArranger::Nested TrackArranger::ArrangeNested(const Item& item) {
    Nested nested;
    nested.composition = std::make_shared<PlacedComposition>();
    nested.composition->schema = item.schema;
    double sounding = 0.0;
    for (const Track& track : item.tracks) {
        ImportReport discarded;
        GridMoments silent;
        ArrangeRules rules = rules_;
        if (rules.moments != nullptr && !track.sounds) rules.moments = &silent;
        TrackArranger inner(track, true, rules, track.sounds ? report_ : discarded);
        PlacedTrack placed = inner.Arrange(nullptr);
        nested.seconds = std::max(nested.seconds, inner.DurationInSeconds());
        if (rules_.moments != nullptr) rules_.moments->Reach(silent.Last());
        if (!track.sounds) continue;
        sounding = std::max(sounding, inner.LengthInSeconds());
        nested.composition->tracks.push_back(std::move(placed));
    }
    nested.composition->frameCount = Frame(sounding, item.place);
    return nested;
}

void TrackArranger::AddTransition(const Item& item, double position) {
    if (inner_) {
        report_.Add("transition", item.place,
                    "inside a nested item it is not imported; it becomes a cut");
        return;
    }
    if (needsNextItem_) {
        report_.Add("transition", item.place,
                    "it follows another transition, which is used instead");
        return;
    }
    if (!item.enabled) {
        report_.Add("transition", item.place, "it is disabled; it becomes a cut");
        return;
    }
    pending_.push_back({&item, position, previous_, {}});
    needsNextItem_ = true;
}

/// Converts an offset to seconds. An offset that is 0 or missing in the file needs no rate.
double TrackArranger::OffsetSeconds(const RationalTime& time, const char* what,
                                    const SourceLocation& place) {
    return time.value == 0.0 ? 0.0 : ToSeconds(time, what, place);
}

void TrackArranger::PlaceTransitions(PlacedTrack& placed) {
    for (const Pending& pending : pending_) {
        const Item& item = *pending.item;
        if (pending.position < window_.begin || pending.position > window_.end) {
            report_.Add("transition", item.place,
                        "it is outside the source_range of its track or stack");
            continue;
        }
        if (rules_.moments != nullptr) {
            MeasureTransition(pending);
            continue;
        }
        Join join;
        join.item = &item;
        join.inSeconds = OffsetSeconds(item.transition.inOffset, "in_offset", item.place);
        join.outSeconds = OffsetSeconds(item.transition.outOffset, "out_offset", item.place);
        join.frame = Frame(pending.position - window_.begin, item.place);
        join.before = pending.before;
        join.after = pending.after;
        PlaceTransition(join, {rules_.EngineRate(), rules_.rate}, placed, report_);
    }
    NoteOverlaps(placed, report_);
}

void TrackArranger::PlaceItem(const Item& item, Seconds position,
                              std::shared_ptr<PlacedComposition> composition, PlacedTrack& placed) {
    Neighbour neighbour;
    const bool maySound = item.kind == Item::Kind::Clip || item.kind == Item::Kind::Nested;
    if (item.isSilentPicture) {
        NoteSilentPicture(item.place, report_);
    } else if (item.kind == Item::Kind::Clip && !item.noMediaReason.empty()) {
        report_.Add("clip", item.place, item.noMediaReason, Severity::Silence);
    } else if (maySound && (composition != nullptr || Extent(item) != nullptr)) {
        // A muted clip still sounds through a transition. A disabled clip, or a clip whose speed
        // cannot be rendered, must not.
        neighbour.allowsTransition = item.enabled && item.speedProblem.empty();
        if (PlaceClip(item, position, std::move(composition), placed)) {
            neighbour.clip = placed.clips.size() - 1;
        }
    } else if (item.kind == Item::Kind::Unknown) {
        report_.Add(
            item.schema.empty() ? "item without a schema" : "unknown " + Quoted(item.schema),
            item.place, "it is not imported; its time is silent", Severity::Silence);
    }
    if (needsNextItem_) pending_.back().after = neighbour;
    needsNextItem_ = false;
    previous_ = neighbour;
}

/// The time in its media at which a clip begins; negative before the media.
/// @param cutSeconds  time that trims cut off the beginning of the clip
double TrackArranger::InPointSeconds(const Item& item, double cutSeconds, double speed) {
    double seconds = 0.0;
    if (item.sourceRange) seconds = ToSeconds(item.sourceRange->start, "start", item.place);
    if (item.sourceRange && item.media && item.media->availableRange) {
        seconds -= ToSeconds(item.media->availableRange->start, "start of the media", item.place);
    }
    return cutSeconds > 0.0 ? seconds + cutSeconds * speed : seconds;
}

/// @return false when the in-point is out of range
bool TrackArranger::SetInPoint(const Item& item, double cutSeconds, PlacedClip& clip) {
    const double seconds = InPointSeconds(item, cutSeconds, clip.speed);
    const double frames = zrtl::RoundHalfAway((seconds * rules_.EngineRate()) / clip.speed);
    if (!(std::abs(frames) <= std::numeric_limits<int>::max())) return false;
    clip.framesBeforeMedia = frames < 0.0 ? static_cast<int>(-frames) : 0;
    clip.sourceStartFrame = frames > 0.0 ? static_cast<int>(frames) : 0;
    return true;
}

/// Sets the frames of a clip on its track and its in-point.
/// @return false when the clip is left out; it is reported
bool TrackArranger::SetFrames(const Item& item, const KeptTime& time, PlacedClip& clip) {
    clip.startFrame = Frame(time.kept.begin, item.place);
    clip.endFrame = Frame(time.kept.end, item.place);
    if (clip.startFrame >= clip.endFrame) {
        report_.Add(KindText(item), item.place, "it is shorter than a frame and is left out");
        return false;
    }
    if (!item.speedProblem.empty()) {
        report_.Add(KindText(item), item.place, item.speedProblem, Severity::Silence);
    }
    if (SetInPoint(item, time.cutAtStart, clip)) return true;
    report_.Add(KindText(item), item.place, "its in-point is out of range; it is left out",
                Severity::Silence);
    return false;
}

/// Sets the level, the effects, the fades and the media of a clip that begins with its media.
void TrackArranger::SetSound(const Item& item, const KeptTime& time, PlacedClip& clip) {
    const int dropped = clip.framesBeforeMedia;
    clip.level = ToCurve(item.level, rules_.fps, time.cutAtStart + dropped / rules_.EngineRate(),
                         item.place, report_);
    clip.effects = item.effects;
    SetFades(item, Frame(time.cutAtStart, item.place) + dropped, Frame(time.cutAtEnd, item.place),
             clip);
    if (clip.composition == nullptr) clip.media = rules_.resolver->Resolve(item.media->url);
}

TrackArranger::KeptTime TrackArranger::KeptOf(Seconds position) const {
    return {{std::max(position.begin, window_.begin) - window_.begin,
             std::min(position.end, window_.end) - window_.begin},
            std::max(0.0, window_.begin - position.begin),
            std::max(0.0, position.end - window_.end)};
}

/// @return whether the clip was placed; a clip that was not is reported or unheard
bool TrackArranger::PlaceClip(const Item& item, Seconds position,
                              std::shared_ptr<PlacedComposition> composition, PlacedTrack& placed) {
    const KeptTime time = KeptOf(position);
    if (time.kept.end <= time.kept.begin) {
        report_.Add(KindText(item), item.place,
                    position.end > position.begin
                        ? "it is outside the source_range of its track or stack"
                        : "it has no length and is left out",
                    Severity::Note);
        return false;
    }
    PlacedClip clip = ClipOf(item);
    if (rules_.moments != nullptr) {
        MeasureClip(item, time.kept, time.cutAtStart, clip.speed);
    } else {
        if (!SetFrames(item, time, clip)) return false;
        clip.composition = std::move(composition);
        // The comparison with the media reports the silence.
        if (clip.framesBeforeMedia >= clip.endFrame - clip.startFrame) {
            placed.unheard.push_back(std::move(clip));
            return false;
        }
        clip.startFrame += clip.framesBeforeMedia;
        SetSound(item, time, clip);
    }
    placed.clips.push_back(std::move(clip));
    return true;
}

}  // namespace orlo::host::otio
