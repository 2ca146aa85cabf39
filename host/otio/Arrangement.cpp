// SPDX-License-Identifier: MIT
#include "host/otio/Arrangement.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "host/Text.h"
#include "host/otio/JsonDocument.h"
#include "sonrel/contracts/zrtl/Timing.h"

namespace orlo::host::otio {

namespace {

constexpr double DEFAULT_FPS = 25.0;
constexpr int DEFAULT_RATE = 48000;
/// Rates above this are time scales, such as a sample rate, and say nothing about frames.
constexpr double MAX_VOTING_RATE = 240.0;
constexpr int MAX_SAMPLES_PER_FRAME = 96000;
constexpr int MIN_RATE = 64;
constexpr int MAX_RATE = 768000;

/// The range that tells how long an item is: its own, else that of its medium.
const TimeRange* Extent(const Item& item) {
    if (item.sourceRange) return &*item.sourceRange;
    if (item.media && item.media->availableRange) return &*item.media->availableRange;
    return nullptr;
}

/// Counts the rates of durations.
class RateVote {
public:
    void Add(const Item& item) {
        const bool votes = item.kind == Item::Kind::Clip || item.kind == Item::Kind::Gap ||
                           item.kind == Item::Kind::Nested;
        const TimeRange* extent = Extent(item);
        if (!votes || extent == nullptr) return;
        const double rate = extent->duration.rate;
        if (!(rate > 0.0 && rate <= MAX_VOTING_RATE)) return;
        const std::size_t next = counts_.size();
        ++counts_.try_emplace(rate, Count{next, 0}).first->second.votes;
    }

    /// The most frequent rate; of equals, the one that came first.
    std::optional<double> Winner() const {
        std::optional<double> winner;
        Count best;
        for (const auto& [rate, count] : counts_) {
            const bool wins =
                count.votes > best.votes || (count.votes == best.votes && count.place < best.place);
            if (!wins) continue;
            winner = rate;
            best = count;
        }
        return winner;
    }

private:
    struct Count {
        std::size_t place = 0;
        std::size_t votes = 0;
    };

    std::map<double, Count> counts_;
};

std::optional<double> VotedRate(const std::vector<Track>& tracks) {
    RateVote vote;
    for (const Track& track : tracks) {
        for (const Item& item : track.items) vote.Add(item);
    }
    return vote.Winner();
}

/// A stretch of seconds; @p end is exclusive.
struct Seconds {
    double begin = 0.0;
    double end = 0.0;
};

/// @param seconds  0 or more
int CheckedFrame(double seconds, double fps, const Place& place) {
    const double frame = zrtl::RoundHalfAway(seconds * fps);
    if (!(frame <= std::numeric_limits<int>::max())) {
        throw DocumentError(OneLine(ToText(place)) + ": it ends beyond frame 2147483647");
    }
    return static_cast<int>(frame);
}

/// One track on its way into frames.
class TrackArranger {
public:
    TrackArranger(const Track& track, double fps, const MediaResolver& resolver,
                  ImportReport& report)
        : track_(track), fps_(fps), resolver_(resolver), report_(report) {
        RateVote vote;
        for (const Item& item : track.items) vote.Add(item);
        fallbackRate_ = vote.Winner().value_or(fps);
    }

    /// @param stackTrim  the range of the stack around the track, or null
    PlacedTrack Arrange(const TimeRange* stackTrim);

    /// Length of the arranged track.
    double LengthInSeconds() const { return length_; }

private:
    double ToSeconds(const RationalTime& time, const char* what, const Place& place);
    double Duration(const Item& item);
    double ChildrenDuration(const Item& item);
    void Trim(const TimeRange* range, const Place& place);
    int ToFrame(double seconds, const Place& place) const;
    void PlaceItem(const Item& item, Seconds position, PlacedTrack& placed);
    void PlaceClip(const Item& item, Seconds position, PlacedTrack& placed);
    bool SetInPoint(const Item& item, double cutSeconds, PlacedClip& clip, int& droppedFrames);
    LevelCurve ClipLevel(const Level& level, double cutSeconds, const Place& place);

    const Track& track_;
    double fps_;
    const MediaResolver& resolver_;
    ImportReport& report_;
    double fallbackRate_ = DEFAULT_FPS;
    /// What is left of the track's own time after its trims, and where that time begins.
    Seconds window_{0.0, std::numeric_limits<double>::infinity()};
    double length_ = 0.0;
};

std::optional<LevelCurve::Key> ToKey(const LevelKey& key, Level::Clock clock, double fps,
                                     double cutSeconds) {
    double ms = key.time;
    if (clock == Level::Clock::Frames) ms = key.time / fps * 1000.0;
    ms = zrtl::RoundHalfAway(ms - cutSeconds * 1000.0);
    if (!(std::abs(ms) < std::numeric_limits<int>::max())) return std::nullopt;
    return LevelCurve::Key{static_cast<int>(ms), key.decibels};
}

LevelCurve ToCurve(const Level& level, double fps, double cutSeconds, const Place& place,
                   ImportReport& report) {
    LevelCurve curve;
    curve.decibels = level.decibels;
    for (const LevelKey& key : level.keys) {
        if (const std::optional<LevelCurve::Key> placed =
                ToKey(key, level.clock, fps, cutSeconds)) {
            curve.keys.push_back(*placed);
        } else {
            report.Add("level key", place, "its time is out of range");
        }
    }
    std::stable_sort(
        curve.keys.begin(), curve.keys.end(),
        [](const LevelCurve::Key& a, const LevelCurve::Key& b) { return a.timeMs < b.timeMs; });
    return curve;
}

double TrackArranger::ToSeconds(const RationalTime& time, const char* what, const Place& place) {
    double rate = time.rate;
    if (rate == 0.0) {
        rate = fallbackRate_;
        report_.Add(std::string("rate of the ") + what, place,
                    "it is 0 or no number; " + FormatShort(rate) + " is taken");
    }
    return time.value / rate;
}

double TrackArranger::ChildrenDuration(const Item& item) {
    double length = 0.0;
    for (const Item& child : item.children) {
        const double duration = Duration(child);
        length = item.parallel ? std::max(length, duration) : length + duration;
    }
    return length;
}

double TrackArranger::Duration(const Item& item) {
    if (item.kind == Item::Kind::Transition) return 0.0;
    const TimeRange* extent = Extent(item);
    if (extent == nullptr) {
        if (item.kind == Item::Kind::Nested) return ChildrenDuration(item);
        if (item.kind == Item::Kind::Clip) {
            report_.Add("clip", item.place, "it tells no length and is left out");
        }
        return 0.0;
    }
    const double seconds = ToSeconds(extent->duration, "duration", item.place);
    if (seconds < 0.0) {
        report_.Add("negative duration", item.place, "it counts as 0");
        return 0.0;
    }
    return seconds;
}

void TrackArranger::Trim(const TimeRange* range, const Place& place) {
    if (range == nullptr) return;
    const double duration = ToSeconds(range->duration, "duration", place);
    if (!(duration > 0.0)) return;
    // The range counts from where an earlier trim let the time begin.
    const double begin = window_.begin + ToSeconds(range->start, "start", place);
    window_.end = std::min(window_.end, begin + duration);
    window_.begin = begin;
    if (!std::isfinite(window_.begin)) {
        throw DocumentError(OneLine(ToText(place)) + ": source_range begins out of range");
    }
}

int TrackArranger::ToFrame(double seconds, const Place& place) const {
    return CheckedFrame(seconds, fps_, place);
}

PlacedTrack TrackArranger::Arrange(const TimeRange* stackTrim) {
    PlacedTrack placed;
    placed.name = track_.name;
    placed.muted = track_.muted;
    placed.solo = track_.solo;
    placed.stereoBalance = track_.stereoBalance;
    placed.level = ToCurve(track_.level, fps_, 0.0, track_.place, report_);
    Trim(track_.sourceRange ? &*track_.sourceRange : nullptr, track_.place);
    Trim(stackTrim, {});
    double position = 0.0;
    for (const Item& item : track_.items) {
        const double end = position + Duration(item);
        ToFrame(end, item.place);
        PlaceItem(item, {position, end}, placed);
        position = end;
    }
    length_ = std::max(0.0, std::min(position, window_.end) - window_.begin);
    return placed;
}

void TrackArranger::PlaceItem(const Item& item, Seconds position, PlacedTrack& placed) {
    switch (item.kind) {
        case Item::Kind::Clip:
            if (!item.noMediaReason.empty()) {
                report_.Add("clip", item.place, item.noMediaReason);
            } else if (Extent(item) != nullptr) {
                PlaceClip(item, position, placed);
            }
            break;
        case Item::Kind::Gap:
            break;
        case Item::Kind::Transition:
            report_.Add("transition", item.place, "it is not taken over; the clips meet in a cut");
            break;
        case Item::Kind::Nested:
            report_.Add("nested " + item.schema, item.place,
                        "it is not taken over; its time is silent");
            break;
        case Item::Kind::Unknown:
            report_.Add(
                item.schema.empty() ? "item without a schema" : "unknown " + Quoted(item.schema),
                item.place, "it is not taken over; its time is silent");
            break;
    }
}

LevelCurve TrackArranger::ClipLevel(const Level& level, double cutSeconds, const Place& place) {
    return ToCurve(level, fps_, cutSeconds, place, report_);
}

/// @param cutSeconds     what trims took off the clip's beginning
/// @param droppedFrames  receives the frames at the clip's beginning that lie before its medium
/// @return false where the in-point is out of range
bool TrackArranger::SetInPoint(const Item& item, double cutSeconds, PlacedClip& clip,
                               int& droppedFrames) {
    double seconds = 0.0;
    if (item.sourceRange) seconds = ToSeconds(item.sourceRange->start, "start", item.place);
    if (item.sourceRange && item.media->availableRange) {
        seconds -= ToSeconds(item.media->availableRange->start, "start of the medium", item.place);
    }
    if (cutSeconds > 0.0) seconds += cutSeconds * clip.speed;
    const double frames = zrtl::RoundHalfAway((seconds * fps_) / clip.speed);
    if (!(std::abs(frames) <= std::numeric_limits<int>::max())) return false;
    droppedFrames = frames < 0.0 ? static_cast<int>(-frames) : 0;
    clip.sourceStartFrame = frames > 0.0 ? static_cast<int>(frames) : 0;
    return true;
}

void TrackArranger::PlaceClip(const Item& item, Seconds position, PlacedTrack& placed) {
    const double cutSeconds = std::max(0.0, window_.begin - position.begin);
    const Seconds kept{std::max(position.begin, window_.begin) - window_.begin,
                       std::min(position.end, window_.end) - window_.begin};
    if (kept.end <= kept.begin) {
        report_.Add("clip", item.place,
                    position.end > position.begin ? "a source_range around it cuts it off"
                                                  : "it has no length and is left out");
        return;
    }
    PlacedClip clip;
    clip.name = item.name;
    clip.place = item.place;
    clip.stream = item.stream;
    clip.speed = item.speedProblem.empty() ? item.speed : 1.0;
    clip.muted = item.muted || !item.enabled || !item.speedProblem.empty();
    clip.startFrame = ToFrame(kept.begin, item.place);
    clip.endFrame = ToFrame(kept.end, item.place);
    if (clip.startFrame >= clip.endFrame) {
        report_.Add("clip", item.place, "it is shorter than a frame and is left out");
        return;
    }
    if (!item.speedProblem.empty()) report_.Add("clip", item.place, item.speedProblem);
    int droppedFrames = 0;
    if (!SetInPoint(item, cutSeconds, clip, droppedFrames)) {
        report_.Add("clip", item.place, "its in-point is out of range; it is left out");
        return;
    }
    if (droppedFrames > 0) {
        report_.Add("clip", item.place, "it begins before its medium, and is silent until there");
        if (droppedFrames >= clip.endFrame - clip.startFrame) return;
        clip.startFrame += droppedFrames;
    }
    clip.level = ClipLevel(item.level, cutSeconds + droppedFrames / fps_, item.place);
    clip.media = resolver_.Resolve(item.media->url);
    placed.clips.push_back(std::move(clip));
}

}  // namespace

void CheckRates(double fps, int rate) {
    if (rate < MIN_RATE || rate > MAX_RATE) {
        throw RateError("a sample rate of " + std::to_string(rate) + " Hz is outside 64 to 768000");
    }
    const double samples = std::floor(rate / fps);
    if (samples >= 1.0 && samples <= MAX_SAMPLES_PER_FRAME) return;
    throw RateError("a frame rate of " + FormatShort(fps) + " does not go with " +
                    std::to_string(rate) + " Hz: a frame must take 1 to 96000 samples");
}

Arrangement ArrangeTimeline(const Timeline& timeline, const RateChoice& choice,
                            const MediaResolver& resolver, ImportReport& report) {
    Arrangement arrangement;
    std::optional<double> fps = choice.fps ? choice.fps : timeline.frameRate;
    if (!fps) fps = VotedRate(timeline.tracks);
    arrangement.fps = fps.value_or(DEFAULT_FPS);
    arrangement.rate = choice.rate.value_or(timeline.sampleRate.value_or(DEFAULT_RATE));
    CheckRates(arrangement.fps, arrangement.rate);
    arrangement.masterLevel = ToCurve(timeline.masterLevel, arrangement.fps, 0.0, {}, report);
    double longest = 0.0;
    for (const Track& track : timeline.tracks) {
        TrackArranger arranger(track, arrangement.fps, resolver, report);
        arrangement.tracks.push_back(
            arranger.Arrange(timeline.sourceRange ? &*timeline.sourceRange : nullptr));
        longest = std::max(longest, arranger.LengthInSeconds());
    }
    arrangement.frameCount = CheckedFrame(longest, arrangement.fps, {});
    return arrangement;
}

}  // namespace orlo::host::otio
