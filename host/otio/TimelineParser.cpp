// SPDX-License-Identifier: MIT
#include "host/otio/TimelineParser.h"

#include "host/otio/ChannelMappings.h"
#include "host/otio/ClipParser.h"
#include "host/otio/DuckParser.h"
#include "host/otio/Fields.h"
#include "host/otio/FrameRateChoice.h"
#include "host/otio/SoundParser.h"
#include "host/otio/StartTimecode.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

/// Limits of names and places in the report, which may contain millions of them.
constexpr std::size_t MAX_NAME = 60;
constexpr std::size_t MAX_PLACE = 300;

bool ContinuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::string Shortened(const std::string& name) {
    if (name.size() <= MAX_NAME) return name;
    std::size_t end = MAX_NAME;
    while (end > 0 && ContinuesCharacter(name[end])) --end;
    return name.substr(0, end) + "...";
}

std::string Label(const char* kind, std::size_t number, const std::string& name) {
    const std::string label = kind + std::string(" ") + std::to_string(number);
    return name.empty() ? label : label + " " + Quoted(Shortened(name));
}

/// The place of a track inside a nested item. A place that is too long is cut at its beginning.
SourceLocation InnerLocation(const SourceLocation& nested, const std::string& label) {
    std::string text = ToText(nested) + ", " + label;
    if (text.size() > MAX_PLACE) {
        std::size_t begin = text.size() - MAX_PLACE;
        while (begin < text.size() && ContinuesCharacter(text[begin])) ++begin;
        text = "..." + text.substr(begin);
    }
    return {text, {}};
}

Item::Kind KindOf(const std::string& schema) {
    if (schema == "Clip") return Item::Kind::Clip;
    if (schema == "Gap") return Item::Kind::Gap;
    if (schema == "Transition") return Item::Kind::Transition;
    if (schema == "Stack" || schema == "Track") return Item::Kind::Nested;
    return Item::Kind::Unknown;
}

Track::Kind TrackKind(const std::string& kind) {
    if (kind == "Audio") return Track::Kind::Audio;
    // A track without a kind is a video track.
    return kind == "Video" || kind.empty() ? Track::Kind::Video : Track::Kind::Other;
}

void NoteUnwantedTrack(Track::Kind kind, const std::string& kindName, const SourceLocation& place,
                       ImportReport& report) {
    if (kind == Track::Kind::Video) {
        report.Add("video track", place,
                   "its pictures are not imported, and its sound only with "
                   "--audio-from video");
    } else if (kind == Track::Kind::Audio) {
        report.Add("audio track", place, "the sound is read from the video tracks");
    } else {
        report.Add("track of kind " + Quoted(kindName), place, "it has no sound");
    }
}

void ParseNested(const Json& object, Track::Kind wanted, Item& item, ImportReport& report);

Item ParseItem(const Json& object, const std::string& track, std::size_t number, Track::Kind wanted,
               ImportReport& report) {
    Item item;
    item.schema = SchemaName(object);
    item.kind = KindOf(item.schema);
    item.name = StringMember(object, "name");
    item.place = {track, Label("item", number, item.name)};
    item.sourceRange = RangeMember(object, "source_range", item.place, report);
    item.enabled = BoolMember(object, "enabled", true, item.place, report);
    switch (item.kind) {
        case Item::Kind::Clip:
            ParseClip(object, item, report);
            break;
        case Item::Kind::Gap:
            NoteEffects(object, item.place, report);
            break;
        case Item::Kind::Transition:
            ParseTransition(object, item, report);
            break;
        case Item::Kind::Nested:
            ParseSound(object, item, report);
            ParseNested(object, wanted, item, report);
            break;
        case Item::Kind::Unknown:
            break;
    }
    return item;
}

/// Our own settings of a clip and its track take precedence over those of other programs.
void SetOwnSound(const Track& track, Item& item) {
    const SoundSetting setting = Combined(item.soundSetting, track.soundSetting);
    if (setting.IsEmpty() || item.kind != Item::Kind::Clip) return;
    item.sound = setting.Choice();
    item.sourceTrack = 0;
}

void ParseItems(const Json& object, Track::Kind wanted, Track& track, ImportReport& report) {
    std::size_t number = 0;
    track.isExploded = IsExplodedTrack(object);
    for (const Json& child : ListMember(object, "children", track.place)) {
        track.items.push_back(ParseItem(child, track.place.track, ++number, wanted, report));
        SetOwnSound(track, track.items.back());
    }
}

void ParseTrackMetadata(const Json& object, Track& track, ImportReport& report) {
    if (const Json* metadata = MetadataOf(object, "Resolve_OTIO")) {
        track.solo = BoolMember(*metadata, "SoloOn", false, track.place, report);
    }
    const Json* metadata = MetadataOf(object, "sonrel");
    if (metadata == nullptr) return;
    track.soundSetting = ParseSoundSetting(*metadata, track.place, report);
    for (const auto& [key, value] : metadata->AsObject()) {
        if (key == "stream" || key == "channels") continue;
        if (key == "audioLevel") {
            track.level = LevelValue(value, key, track.place, report);
        } else if (key == "stereoBalance") {
            const std::optional<float> balance = FloatValue(value, key, track.place, report);
            if (balance && *balance >= -1.0f && *balance <= 1.0f) {
                track.stereoBalance = balance;
            } else if (balance) {
                report.Add(key, track.place, "it is outside -1 to 1 and is ignored");
            }
        } else if (key == "duck") {
            track.duck = ParseDuck(value, track.place, report);
        } else if (key == "muted") {
            track.muted = BoolMember(*metadata, "muted", false, track.place, report);
        } else if (key == "solo") {
            track.solo = BoolMember(*metadata, "solo", false, track.place, report);
        } else {
            report.Add("metadata.sonrel." + OneLine(key), track.place, "it is not imported");
        }
    }
}

Track ParseTrack(const Json& object, const SourceLocation& place, Track::Kind wanted,
                 ImportReport& report) {
    Track track;
    track.name = StringMember(object, "name");
    track.place = place;
    track.sourceRange = RangeMember(object, "source_range", place, report);
    ParseTrackMetadata(object, track, report);
    if (!BoolMember(object, "enabled", true, place, report)) track.muted = true;
    NoteEffects(object, place, report);
    ParseItems(object, wanted, track, report);
    return track;
}

/// A child of a stack that is not a track becomes a separate track.
Track TrackOfItem(const Json& object, const SourceLocation& place, Track::Kind wanted,
                  ImportReport& report) {
    Track track;
    track.name = StringMember(object, "name");
    track.place = place;
    track.items.push_back(ParseItem(object, place.track, 1, wanted, report));
    SetOwnSound(track, track.items.back());
    return track;
}

/// Parses a track that does not sound, whose length counts. The caller reports the whole track, so
/// reports about its items are discarded.
Track ParseSilentTrack(const Json& object, const SourceLocation& place, Track::Kind wanted) {
    ImportReport discarded;
    Track track = ParseTrack(object, place, wanted, discarded);
    track.sounds = false;
    return track;
}

Track ParseInnerTrack(const Json& object, const SourceLocation& place, Track::Kind wanted,
                      ImportReport& report) {
    if (SchemaName(object) != "Track") return TrackOfItem(object, place, wanted, report);
    const std::string kindName = StringMember(object, "kind");
    const Track::Kind kind = TrackKind(kindName);
    if (kind == wanted) return ParseTrack(object, place, wanted, report);
    NoteUnwantedTrack(kind, kindName, place, report);
    return ParseSilentTrack(object, place, wanted);
}

/// A nested track is treated as a stack with that single track. Its values belong to the item.
/// Without a kind it has the kind of the tracks that contain it.
Track ParseNestedTrack(const Json& object, const Item& item, Track::Kind wanted,
                       ImportReport& report) {
    Track track;
    track.name = item.name;
    track.place = InnerLocation(item.place, "its track");
    const std::string kindName = StringMember(object, "kind");
    const Track::Kind kind = kindName.empty() ? wanted : TrackKind(kindName);
    if (kind == wanted) {
        ParseItems(object, wanted, track, report);
        return track;
    }
    NoteUnwantedTrack(kind, kindName, track.place, report);
    ImportReport discarded;
    ParseItems(object, wanted, track, discarded);
    track.sounds = false;
    return track;
}

void ParseNested(const Json& object, Track::Kind wanted, Item& item, ImportReport& report) {
    if (item.schema == "Track") {
        item.tracks.push_back(ParseNestedTrack(object, item, wanted, report));
        return;
    }
    std::size_t number = 0;
    for (const Json& child : ListMember(object, "children", item.place)) {
        const std::string label = Label("track", ++number, StringMember(child, "name"));
        item.tracks.push_back(
            ParseInnerTrack(child, InnerLocation(item.place, label), wanted, report));
    }
}

void AddTrack(const Json& object, Track::Kind wanted, Timeline& timeline, std::size_t number,
              ImportReport& report) {
    const std::string schema = SchemaName(object);
    const SourceLocation place{Label("track", number, StringMember(object, "name")), {}};
    if (schema != "Track") {
        CountItemRate(object, wanted, timeline.rates);
        timeline.tracks.push_back(TrackOfItem(object, place, wanted, report));
        return;
    }
    const std::string kindName = StringMember(object, "kind");
    const Track::Kind kind = TrackKind(kindName);
    CountTrackRates(object, kind, timeline.rates);
    if (kind == wanted) {
        timeline.tracks.push_back(ParseTrack(object, place, wanted, report));
    } else {
        NoteUnwantedTrack(kind, kindName, place, report);
    }
}

void AddStack(const Json& stack, Track::Kind wanted, Timeline& timeline, ImportReport& report) {
    const SourceLocation place;
    timeline.sourceRange = RangeMember(stack, "source_range", place, report);
    NoteEffects(stack, place, report);
    std::size_t number = 0;
    for (const Json& child : ListMember(stack, "children", place)) {
        AddTrack(child, wanted, timeline, ++number, report);
    }
}

bool IsSampleRate(const Json& value) {
    const std::optional<long long> rate = value.AsInteger();
    return rate && *rate > 0 && *rate <= 1'000'000'000;
}

void ParseTimelineMetadata(const Json& object, Timeline& timeline, ImportReport& report) {
    const Json* metadata = MetadataOf(object, "sonrel");
    if (metadata == nullptr) return;
    const SourceLocation place;
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

void AddTop(const Json& top, Track::Kind wanted, Timeline& timeline, ImportReport& report);

/// Imports a single child of a collection: the first timeline, else the first nested collection,
/// else the first stack. Without any of these, all children become tracks.
void AddCollection(const Json& collection, Track::Kind wanted, Timeline& timeline,
                   ImportReport& report) {
    const Json::Items& children = ListMember(collection, "children", {});
    const Json* chosen = nullptr;
    for (const char* schema : {"Timeline", "SerializableCollection", "Stack"}) {
        for (const Json& child : children) {
            if (chosen == nullptr && SchemaName(child) == schema) chosen = &child;
        }
    }
    std::size_t number = 0;
    for (const Json& child : children) {
        ++number;
        if (&child == chosen) {
            AddTop(child, wanted, timeline, report);
        } else if (chosen == nullptr) {
            AddTrack(child, wanted, timeline, number, report);
        } else {
            report.Add(SchemaName(child), {{}, Label("item", number, StringMember(child, "name"))},
                       "only the first timeline of a collection is imported");
        }
    }
}

void AddTop(const Json& top, Track::Kind wanted, Timeline& timeline, ImportReport& report) {
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
        AddStack(*tracks, wanted, timeline, report);
    } else if (schema == "Stack") {
        AddStack(top, wanted, timeline, report);
    } else if (schema == "Track" || schema == "Clip") {
        AddTrack(top, wanted, timeline, 1, report);
    } else if (schema == "SerializableCollection") {
        AddCollection(top, wanted, timeline, report);
    } else if (schema.empty()) {
        throw DocumentError("not an OpenTimelineIO document: its top has no OTIO_SCHEMA");
    } else {
        throw DocumentError("its top is a " + Quoted(schema) +
                            ", not a Timeline, Stack, Track, Clip or SerializableCollection");
    }
}

}  // namespace

Timeline ParseTimeline(const Json& document, Track::Kind wanted, ImportReport& report) {
    Timeline timeline;
    AddTop(document, wanted, timeline, report);
    PairExplodedStereo(timeline.tracks);
    return timeline;
}

}  // namespace orlo::host::otio
