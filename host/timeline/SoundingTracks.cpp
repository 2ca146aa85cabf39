// SPDX-License-Identifier: MIT
#include "host/timeline/SoundingTracks.h"

#include <algorithm>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

using Kind = otio::Track::Kind;

struct TrackCount {
    std::size_t tracks = 0;
    std::size_t clips = 0;
};

TrackCount CountOf(const otio::TimelineImport& import, Kind kind) {
    TrackCount count;
    for (const otio::TrackSummary& track : import.allTracks) {
        if (track.kind != kind) continue;
        ++count.tracks;
        count.clips += track.clips;
    }
    return count;
}

std::string Plural(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

/// "2 video tracks with 5 clips"
std::string CountText(const TrackCount& count, const std::string& kind) {
    if (count.tracks == 0) return "no " + kind + " tracks";
    return Plural(count.tracks, kind + " track") +
           (count.clips == 0 ? " without clips" : " with " + Plural(count.clips, "clip"));
}

/// ", and 1 track of kind 'Sound'", with the first kind; empty without such a track
std::string OtherTracksText(const otio::TimelineImport& import) {
    const std::size_t count = CountOf(import, Kind::Other).tracks;
    const auto first =
        std::find_if(import.allTracks.begin(), import.allTracks.end(),
                     [](const otio::TrackSummary& track) { return track.kind == Kind::Other; });
    if (first == import.allTracks.end()) return {};
    return ", and " + Plural(count, "track") + " of kind " + Quoted(first->kindName) +
           (count == 1 ? "" : " or others");
}

}  // namespace

const char* AudioFromName(Kind kind) {
    return kind == Kind::Video ? "video" : "audio";
}

void RefuseEmptyTimeline(const std::string& input, const otio::TimelineImport& import,
                         const std::string& verb) {
    const Kind other = import.soundKind == Kind::Audio ? Kind::Video : Kind::Audio;
    std::string text = "the timeline " + Quoted(input) + " has " +
                       CountText(CountOf(import, Kind::Audio), "audio") + " and " +
                       CountText(CountOf(import, Kind::Video), "video") + OtherTracksText(import) +
                       ": with --audio-from " + AudioFromName(import.soundKind) +
                       " there is nothing to " + verb;
    if (CountOf(import, other).clips > 0) {
        text += std::string("; use --audio-from ") + AudioFromName(other);
    }
    throw JobError(text);
}

}  // namespace orlo::host
