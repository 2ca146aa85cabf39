// SPDX-License-Identifier: MIT
#include "host/parsing/TimelineParser.h"

#include "host/otio/AudioFrom.h"
#include "host/otio/Fields.h"
#include "host/otio/FrameRateChoice.h"
#include "host/otio/StartTimecode.h"
#include "host/parsing/ChannelMappings.h"
#include "host/parsing/SoundParser.h"
#include "host/parsing/SoundTarget.h"
#include "host/parsing/TrackParser.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

/// Clips and nested items of a track.
std::size_t CountClips(const Json& track) {
    const Json* children = Member(track, "children");
    if (children == nullptr || !children->IsArray()) return 0;
    std::size_t clips = 0;
    for (const Json& child : children->AsArray()) {
        const std::string schema = SchemaName(child);
        if (schema == "Clip" || schema == "Stack" || schema == "Track") ++clips;
    }
    return clips;
}

TrackSummary Summarize(const Json& track, const SoundRule& rule) {
    const Track::Kind kind = KindOfTrack(track);
    return {StringMember(track, "name"), kind, StringMember(track, "kind"), CountClips(track),
            kind == rule.kind};
}

void AddTrack(const Json& object, const SoundRule& rule, Timeline& timeline, std::size_t number,
              ImportReport& report) {
    const SourceLocation place{Label("track", number, StringMember(object, "name")), {}};
    if (SchemaName(object) != "Track") {
        CountItemRate(object, rule.kind, timeline.rates);
        timeline.tracks.push_back(TrackOfItem(object, place, rule, report));
        timeline.allTracks.push_back({timeline.tracks.back().name, rule.kind, {}, 1, true});
        return;
    }
    const TrackSummary& summary = timeline.allTracks.emplace_back(Summarize(object, rule));
    CountTrackRates(object, summary.kind, timeline.rates);
    if (summary.sounds) {
        timeline.tracks.push_back(ParseTrack(object, place, rule, report));
    } else {
        NoteSilentTrack(object, place, report);
    }
}

/// The rule of the top. Where audio tracks sound, only audio tracks of nested items do.
SoundRule TopRule(AudioFrom from, bool hasAudioTrack, Timeline& timeline) {
    const SoundRule rule = MakeSoundRule(from, hasAudioTrack);
    timeline.soundKind = rule.kind;
    return rule.kind == Track::Kind::Audio ? SoundRule{AudioFrom::Audio, rule.kind} : rule;
}

void AddTracks(const Json::Items& children, AudioFrom from, Timeline& timeline,
               ImportReport& report) {
    const SoundRule rule = TopRule(from, HasAudioTrack(children), timeline);
    std::size_t number = 0;
    for (const Json& child : children) AddTrack(child, rule, timeline, ++number, report);
}

void AddStack(const Json& stack, AudioFrom from, Timeline& timeline, ImportReport& report) {
    const SourceLocation place;
    timeline.sourceRange = RangeMember(stack, "source_range", place, report);
    NoteEffects(stack, place, report);
    AddTracks(ListMember(stack, "children", place), from, timeline, report);
}

/// A track or clip that is the whole document.
void AddOnlyTrack(const Json& top, AudioFrom from, Timeline& timeline, ImportReport& report) {
    const bool isAudio = SchemaName(top) == "Track" && KindOfTrack(top) == Track::Kind::Audio;
    AddTrack(top, TopRule(from, isAudio, timeline), timeline, 1, report);
}

bool IsSampleRate(const Json& value) {
    const std::optional<long long> rate = value.AsInteger();
    return rate && *rate > 0 && *rate <= 1'000'000'000;
}

void ParseTimelineMetadata(const Json& object, Timeline& timeline, ImportReport& report) {
    const SourceLocation place;
    const Json* metadata = OwnMetadataOf(object, place, report);
    if (metadata == nullptr) return;
    for (const auto& [key, value] : metadata->AsObject()) {
        if (key == "masterLevel") {
            timeline.masterLevel = LevelValue(value, key, place, report);
        } else if (key == "frameRate" && value.IsNumber() && value.AsNumber() > 0.0) {
            timeline.frameRate = ExactRate(value.AsNumber());
        } else if (key == "sampleRate" && IsSampleRate(value)) {
            timeline.sampleRate = static_cast<int>(*value.AsInteger());
        } else if (key == "frameRate" || key == "sampleRate") {
            report.Add(key, place, "it is not a rate and is ignored");
        } else {
            report.Add("metadata.sonrel." + OneLine(key), place, "it is not imported");
        }
    }
}

void AddTop(const Json& top, AudioFrom from, Timeline& timeline, ImportReport& report);

/// Imports a single child of a collection: the first timeline, else the first nested collection,
/// else the first stack. Without any of these, all children become tracks.
void AddCollection(const Json& collection, AudioFrom from, Timeline& timeline,
                   ImportReport& report) {
    const Json::Items& children = ListMember(collection, "children", {});
    const Json* chosen = nullptr;
    for (const char* schema : {"Timeline", "SerializableCollection", "Stack"}) {
        for (const Json& child : children) {
            if (chosen == nullptr && SchemaName(child) == schema) chosen = &child;
        }
    }
    if (chosen == nullptr) return AddTracks(children, from, timeline, report);
    AddTop(*chosen, from, timeline, report);
    std::size_t number = 0;
    for (const Json& child : children) {
        ++number;
        if (&child == chosen) continue;
        report.Add(SchemaName(child), {{}, Label("item", number, StringMember(child, "name"))},
                   "only the first timeline of a collection is imported", Severity::Silence);
    }
}

void AddTop(const Json& top, AudioFrom from, Timeline& timeline, ImportReport& report) {
    const std::string schema = SchemaName(top);
    timeline.name = StringMember(top, "name");
    ParseTimelineMetadata(top, timeline, report);
    if (schema == "Timeline") {
        ParseStartTimecode(top, timeline, report);
        const Json* tracks = Member(top, "tracks");
        if (tracks == nullptr || SchemaName(*tracks) != "Stack") {
            throw DocumentError("the timeline has no stack of tracks");
        }
        CountStartRate(top, timeline.rates);
        AddStack(*tracks, from, timeline, report);
    } else if (schema == "Stack") {
        AddStack(top, from, timeline, report);
    } else if (schema == "Track" || schema == "Clip") {
        AddOnlyTrack(top, from, timeline, report);
    } else if (schema == "SerializableCollection") {
        AddCollection(top, from, timeline, report);
    } else if (schema.empty()) {
        throw DocumentError("not an OpenTimelineIO document: its top has no OTIO_SCHEMA");
    } else {
        throw DocumentError("its top is a " + Quoted(schema) +
                            ", not a Timeline, Stack, Track, Clip or SerializableCollection");
    }
}

}  // namespace

Timeline ParseTimeline(const Json& document, AudioFrom from, ImportReport& report) {
    Timeline timeline;
    AddTop(document, from, timeline, report);
    PairExplodedStereo(timeline.tracks);
    SharePans(timeline.tracks, report);
    return timeline;
}

}  // namespace orlo::host::otio
