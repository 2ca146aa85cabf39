// SPDX-License-Identifier: MIT
#include "host/report/PageLanes.h"

#include <algorithm>
#include <utility>

#include "host/report/PageTexts.h"
#include "host/shell/Summary.h"
#include "host/shell/Text.h"
#include "host/timeline/ClipTexts.h"

namespace orlo::host {

namespace {

using otio::PlacedClip;
using otio::PlacedTrack;
using otio::PlacedTransition;

/// The place of a track, of which only its items have places.
/// @param otherwise  for a track without items
otio::SourceLocation PlaceOf(const PlacedTrack& track, const otio::SourceLocation& otherwise) {
    if (!track.clips.empty()) return {track.clips.front().place.track, {}};
    if (!track.transitions.empty()) return {track.transitions.front().place.track, {}};
    return otherwise;
}

bool HasSolo(const std::vector<PlacedTrack>& tracks) {
    return std::any_of(tracks.begin(), tracks.end(),
                       [](const PlacedTrack& track) { return track.solo; });
}

/// The lane of a track that does not sound.
PageLane SilentLane(const otio::TrackSummary& track) {
    PageLane lane;
    lane.name = track.name;
    lane.silent = true;
    lane.marks = {KindText(track), "not heard",
                  Counted(static_cast<long long>(track.clips), "clip")};
    return lane;
}

std::vector<std::string> MarksOf(const PlacedTrack& track, bool otherIsSolo) {
    std::vector<std::string> marks;
    if (track.muted) marks.emplace_back("muted");
    if (track.solo) marks.emplace_back("solo");
    if (otherIsSolo && !track.muted) marks.emplace_back("silent: others are solo");
    const std::string level = LevelText(track.level);
    if (!level.empty()) marks.push_back(level);
    if (track.stereoBalance) marks.push_back("balance " + FormatNumber(*track.stereoBalance, 3));
    if (track.duck) marks.push_back("ducked by " + Quoted(track.duck->by));
    return marks;
}

}  // namespace

void PageLanes::AddTimeline(const otio::TimelineImport& import) {
    const std::vector<PlacedTrack>& tracks = import.arrangement.tracks;
    const bool hasSolo = HasSolo(tracks);
    auto next = tracks.begin();
    std::size_t number = 0;
    for (const otio::TrackSummary& summary : import.allTracks) {
        const otio::SourceLocation label{otio::Label("track", ++number, summary.name), {}};
        if (!summary.sounds) {
            PageLane& lane = lanes_.emplace_back(SilentLane(summary));
            lane.id = NewElement(label);
            continue;
        }
        const PlacedTrack& track = *next++;
        PageLane& lane = lanes_.emplace_back(LaneOf(track, PlaceOf(track, label), Frames()));
        const bool otherIsSolo = hasSolo && !track.solo;
        lane.marks = MarksOf(track, otherIsSolo);
        lane.silent = track.muted || otherIsSolo;
    }
}

void PageLanes::AddNested(const PlacedClip& item) {
    AddTracks(item.composition->tracks, item.place, Frames(), lanes_);
}

void PageLanes::AddTracks(const std::vector<PlacedTrack>& tracks, const otio::SourceLocation& owner,
                          const ShownFrames& frames, std::vector<PageLane>& lanes) {
    std::size_t number = 0;
    for (const PlacedTrack& track : tracks) {
        const auto label = otio::InnerLocation(owner, otio::Label("track", ++number, track.name));
        PageLane& lane = lanes.emplace_back(LaneOf(track, PlaceOf(track, label), frames));
        // Of the values of an inner track only the mute applies.
        if (track.muted) lane.marks.emplace_back("muted");
        lane.silent = track.muted;
    }
}

std::string PageLanes::ElementOf(const otio::SourceLocation& place) const {
    std::string text = ToText(place);
    for (;;) {
        const auto found = elements_.find(text);
        if (found != elements_.end()) return found->second;
        const std::size_t comma = text.rfind(", ");
        if (comma == std::string::npos) return {};
        text.erase(comma);
    }
}

PageLanes::ShownFrames PageLanes::Frames() const {
    const double rate = range_.grid.EngineRate();
    return {0.0, 1.0, range_.from * rate, range_.end * rate};
}

PageLane PageLanes::LaneOf(const PlacedTrack& track, const otio::SourceLocation& place,
                           const ShownFrames& frames) {
    PageLane lane;
    lane.id = NewElement(place);
    lane.name = track.name;
    for (const PlacedClip& clip : track.clips) {
        if (frames.Shows(clip.startFrame, clip.endFrame)) AddClip(clip, frames, lane);
    }
    for (const PlacedTransition& transition : track.transitions) {
        AddTransition(track, transition, frames, lane);
    }
    return lane;
}

void PageLanes::AddClip(const PlacedClip& clip, const ShownFrames& frames, PageLane& lane) {
    PageClip shown;
    shown.id = NewElement(clip.place);
    shown.name = clip.name;
    shown.start = Seconds(frames.Of(clip.startFrame));
    shown.end = Seconds(frames.Of(clip.endFrame));
    shown.speed = clip.speed;
    shown.muted = clip.muted;
    shown.fades = clip.fades;
    shown.fades.inFrames *= frames.scale / range_.grid.EngineRate();
    shown.fades.outFrames *= frames.scale / range_.grid.EngineRate();
    shown.placed = &clip;
    const auto sound = sounds_.find({clip.media.path, clip.sound});
    const SoundFit fit = sound == sounds_.end() ? SoundFit() : sound->second.fit;
    shown.missing = fit.silence == MISSING_MEDIA_REASON;
    shown.soundless = !fit.silence.empty() && !shown.missing;
    shown.details = ClipDetails(clip, fit, range_.grid);
    shown.details.insert(shown.details.begin(),
                         TimesText(frames.Of(clip.startFrame), frames.Of(clip.endFrame)));
    if (clip.composition != nullptr) AddContent(clip, frames, shown);
    lane.clips.push_back(std::move(shown));
}

void PageLanes::AddContent(const PlacedClip& clip, const ShownFrames& frames, PageClip& shown) {
    shown.isNested = true;
    const double origin = frames.Of(clip.startFrame - clip.sourceStartFrame);
    const ShownFrames inner{origin, frames.scale / clip.speed,
                            std::max(frames.first, frames.Of(clip.startFrame)),
                            std::min(frames.end, frames.Of(clip.endFrame))};
    AddTracks(clip.composition->tracks, clip.place, inner, shown.lanes);
}

void PageLanes::AddTransition(const PlacedTrack& track, const PlacedTransition& transition,
                              const ShownFrames& frames, PageLane& lane) {
    const double start = static_cast<double>(transition.joinFrame) +
                         static_cast<double>(transition.relativeStartFrame);
    const double end = start + transition.length;
    if (!frames.Shows(start, end)) return;
    PageTransition shown;
    shown.id = NewElement(transition.place);
    shown.start = Seconds(frames.Of(start));
    shown.end = Seconds(frames.Of(end));
    shown.details = {TimesText(frames.Of(start), frames.Of(end)), CrossFadeText(track, transition)};
    lane.transitions.push_back(std::move(shown));
}

double PageLanes::Seconds(double frame) const {
    return frame / range_.grid.EngineRate() - range_.from;
}

std::string PageLanes::TimesText(double start, double end) const {
    return TimecodeText(start, range_.grid) + " to " + TimecodeText(end, range_.grid);
}

std::string PageLanes::NewElement(const otio::SourceLocation& place) {
    std::string id = "p" + std::to_string(++count_);
    elements_.emplace(ToText(place), id);
    return id;
}

}  // namespace orlo::host
