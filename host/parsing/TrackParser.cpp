// SPDX-License-Identifier: MIT
#include "host/parsing/TrackParser.h"

#include "host/otio/DuckParser.h"
#include "host/otio/Fields.h"
#include "host/parsing/ChannelMappings.h"
#include "host/parsing/ClipParser.h"
#include "host/parsing/SoundParser.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

Item::Kind KindOf(const std::string& schema) {
    if (schema == "Clip") return Item::Kind::Clip;
    if (schema == "Gap") return Item::Kind::Gap;
    if (schema == "Transition") return Item::Kind::Transition;
    if (schema == "Stack" || schema == "Track") return Item::Kind::Nested;
    return Item::Kind::Unknown;
}

void ParseNested(const Json& object, const SoundRule& rule, Item& item, ImportReport& report);

Item ParseItem(const Json& object, const std::string& track, std::size_t number,
               const SoundRule& rule, ImportReport& report) {
    Item item;
    item.isPicture = rule.kind == Track::Kind::Video;
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
            ParseNested(object, rule, item, report);
            break;
        case Item::Kind::Unknown:
            break;
    }
    return item;
}

/// Our own settings of a clip and its track take precedence over settings of other programs.
void SetOwnSound(const Track& track, Item& item) {
    const SoundSetting setting = Combined(item.soundSetting, track.soundSetting);
    if (setting.IsEmpty() || item.kind != Item::Kind::Clip) return;
    item.sound = setting.Choice();
    item.sourceTrack = 0;
}

void ParseItems(const Json& object, const SoundRule& rule, Track& track, ImportReport& report) {
    std::size_t number = 0;
    track.isExploded = IsExplodedTrack(object);
    for (const Json& child : ListMember(object, "children", track.place)) {
        track.items.push_back(ParseItem(child, track.place.track, ++number, rule, report));
        SetOwnSound(track, track.items.back());
    }
}

void ParseTrackMetadata(const Json& object, Track& track, ImportReport& report) {
    if (const Json* metadata = MetadataOf(object, "Resolve_OTIO")) {
        track.solo = BoolMember(*metadata, "SoloOn", false, track.place, report);
    }
    const Json* metadata = OwnMetadataOf(object, track.place, report);
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

/// Parses a track that does not sound, whose length counts. The caller reports the whole track, so
/// reports about its items are discarded.
Track ParseSilentTrack(const Json& object, const SourceLocation& place, const SoundRule& rule) {
    ImportReport discarded;
    Track track = ParseTrack(object, place, rule, discarded);
    track.sounds = false;
    return track;
}

Track ParseInnerTrack(const Json& object, const SourceLocation& place, const SoundRule& rule,
                      ImportReport& report) {
    if (SchemaName(object) != "Track") return TrackOfItem(object, place, rule, report);
    const Track::Kind kind = KindOfTrack(object);
    if (kind == rule.kind) return ParseTrack(object, place, rule, report);
    NoteSilentTrack(object, place, report);
    return ParseSilentTrack(object, place, rule);
}

/// A nested track is treated as a stack with that single track. Its values belong to the item.
/// Without a kind it has the kind of the track that contains it.
Track ParseNestedTrack(const Json& object, const Item& item, const SoundRule& rule,
                       ImportReport& report) {
    Track track;
    track.name = item.name;
    track.place = InnerLocation(item.place, "its track");
    const Track::Kind kind = StringMember(object, "kind").empty() ? rule.kind : KindOfTrack(object);
    const bool isOnlyAudio = rule.from == AudioFrom::Auto && kind == Track::Kind::Audio;
    if (kind == rule.kind || isOnlyAudio) {
        ParseItems(object, {rule.from, kind}, track, report);
        return track;
    }
    NoteSilentTrack(object, track.place, report);
    ImportReport discarded;
    ParseItems(object, rule, track, discarded);
    track.sounds = false;
    return track;
}

void ParseNested(const Json& object, const SoundRule& rule, Item& item, ImportReport& report) {
    if (item.schema == "Track") {
        item.tracks.push_back(ParseNestedTrack(object, item, rule, report));
        return;
    }
    const Json::Items& children = ListMember(object, "children", item.place);
    const SoundRule inner = RuleOfStack(children, rule.from);
    std::size_t number = 0;
    for (const Json& child : children) {
        const std::string label = Label("track", ++number, StringMember(child, "name"));
        item.tracks.push_back(
            ParseInnerTrack(child, InnerLocation(item.place, label), inner, report));
    }
}

}  // namespace

Track ParseTrack(const Json& object, const SourceLocation& place, const SoundRule& rule,
                 ImportReport& report) {
    Track track;
    track.name = StringMember(object, "name");
    track.place = place;
    track.sourceRange = RangeMember(object, "source_range", place, report);
    ParseTrackEffects(object, track, report);
    ParseTrackMetadata(object, track, report);
    if (!BoolMember(object, "enabled", true, place, report)) track.muted = true;
    ParseItems(object, rule, track, report);
    return track;
}

Track TrackOfItem(const Json& object, const SourceLocation& place, const SoundRule& rule,
                  ImportReport& report) {
    Track track;
    track.name = StringMember(object, "name");
    track.place = place;
    track.items.push_back(ParseItem(object, place.track, 1, rule, report));
    SetOwnSound(track, track.items.back());
    return track;
}

void NoteSilentTrack(const Json& track, const SourceLocation& place, ImportReport& report) {
    switch (KindOfTrack(track)) {
        case Track::Kind::Video:
            report.Add("video track", place,
                       "its pictures are not imported, and its sound only with --audio-from video",
                       Severity::Note);
            break;
        case Track::Kind::Audio:
            report.Add("audio track", place, "the sound is read from the video tracks",
                       Severity::Note);
            break;
        case Track::Kind::Other:
            report.Add("track of kind " + Quoted(StringMember(track, "kind")), place,
                       "it has no sound", Severity::Note);
            break;
    }
}

}  // namespace orlo::host::otio
