// SPDX-License-Identifier: MIT
#include "host/otio/ClipParser.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "host/Text.h"
#include "host/otio/Fields.h"

namespace orlo::host::otio {

namespace {

using nlohmann::json;

constexpr const char* RESOLVE = "Resolve_OTIO";
constexpr const char* RESOLVE_VOLUME_EFFECT = "Fairlight Clip Volume and Fades";

/// Speeds at which the engine reads a source. Beyond them nothing could be recognised any more.
constexpr double MIN_SPEED = 0.01;
constexpr double MAX_SPEED = 100.0;

constexpr int MAX_STREAMS = 4096;

/// A clip's media reference: of several, the active one.
const json* ActiveReference(const json& clip) {
    const json* references = Member(clip, "media_references");
    if (references == nullptr || !references->is_object()) return Member(clip, "media_reference");
    const std::string active = StringMember(clip, "active_media_reference_key");
    return Member(*references, active.empty() ? "DEFAULT_MEDIA" : active.c_str());
}

void ParseMedia(const json& clip, Item& item, ImportReport& report) {
    const json* reference = ActiveReference(clip);
    const std::string schema = reference == nullptr ? std::string() : SchemaName(*reference);
    if (schema == "ExternalReference") {
        MediaReference media;
        media.url = StringMember(*reference, "target_url");
        media.availableRange = RangeMember(*reference, "available_range", item.place, report);
        if (media.url.empty()) {
            item.noMediaReason = "its media reference names no file; it is silent";
        }
        item.media = std::move(media);
        return;
    }
    if (reference != nullptr && reference->is_object()) {
        // Also a reference that leads nowhere may tell how long its medium is.
        item.media =
            MediaReference{{}, RangeMember(*reference, "available_range", item.place, report)};
    }
    if (schema.empty() || schema == "MissingReference") {
        item.noMediaReason = "it has no medium; it is silent";
    } else if (schema == "GeneratorReference") {
        item.noMediaReason = "its medium is made by a generator; it is silent";
    } else if (schema == "ImageSequenceReference") {
        item.noMediaReason = "its medium is a sequence of images; it is silent";
    } else {
        item.noMediaReason = "its medium is an unknown " + Quoted(schema) + "; it is silent";
    }
}

void ParseTimeWarp(const json& effect, Item& item) {
    const json* scalar = Member(effect, "time_scalar");
    if (scalar == nullptr || !scalar->is_number()) {
        item.speedProblem = "a time warp without a finite time_scalar; it is muted";
        return;
    }
    item.speed *= scalar->get<double>();
}

/// The value of a key frame, which is a number or an object around one.
const json& KeyFrameValue(const json& key) {
    const json* value = Member(key, "Value");
    return value == nullptr ? key : *value;
}

Level ResolveLevel(const json& parameter, const Place& place, ImportReport& report) {
    Level level;
    level.clock = Level::Clock::Frames;
    if (const json* keys = Member(parameter, "Key Frames"); keys != nullptr && keys->is_object()) {
        for (const auto& [frame, key] : keys->items()) {
            const std::optional<long long> time = ParseInteger(frame);
            const std::optional<float> decibels =
                FloatValue(KeyFrameValue(key), "volume key frame", place, report);
            if (!time) {
                report.Add("volume key frame", place, "its place is no frame number");
            } else if (decibels) {
                level.keys.push_back({static_cast<double>(*time), *decibels});
            }
        }
    }
    if (!level.keys.empty()) return level;
    if (const json* value = Member(parameter, "Parameter Value")) {
        level.decibels = FloatValue(*value, "volume", place, report);
    }
    return level;
}

void ParseResolveVolume(const json& parameters, Item& item, ImportReport& report) {
    for (const json& parameter : parameters) {
        const std::string id = StringMember(parameter, "Parameter ID");
        if (id == "volume") {
            item.level = ResolveLevel(parameter, item.place, report);
        } else {
            report.Add("parameter " + Quoted(id) + " of the clip's volume", item.place,
                       "it is not taken over");
        }
    }
}

/// Effects of the other program whose metadata is read.
void ParseResolveEffect(const json& metadata, Item& item, ImportReport& report) {
    if (!BoolMember(metadata, "Enabled", true, item.place, report)) return;
    const json* parameters = Member(metadata, "Parameters");
    const std::string name = StringMember(metadata, "Effect Name");
    // An effect whose values all stand at their defaults has no parameters and does nothing.
    if (parameters != nullptr && parameters->is_array() && parameters->empty()) return;
    if (name == RESOLVE_VOLUME_EFFECT && parameters != nullptr && parameters->is_array()) {
        ParseResolveVolume(*parameters, item, report);
    } else {
        report.Add("effect " + Quoted(name), item.place, "it is not taken over");
    }
}

std::string EffectName(const json& effect) {
    for (const char* key : {"effect_name", "name"}) {
        const std::string name = StringMember(effect, key);
        if (!name.empty()) return name;
    }
    return SchemaName(effect);
}

void ParseEffect(const json& effect, Item& item, ImportReport& report) {
    if (!BoolMember(effect, "enabled", true, item.place, report)) return;
    const std::string schema = SchemaName(effect);
    if (schema == "LinearTimeWarp") {
        ParseTimeWarp(effect, item);
    } else if (schema == "FreezeFrame") {
        item.speedProblem = "a freeze frame has no sound; it is muted";
    } else if (schema == "TimeEffect") {
        item.speedProblem = "a speed that changes cannot be rendered; it is muted";
    } else if (const json* metadata = MetadataOf(effect, RESOLVE)) {
        ParseResolveEffect(*metadata, item, report);
    } else {
        report.Add("effect " + Quoted(EffectName(effect)), item.place, "it is not taken over");
    }
}

void CheckSpeed(Item& item) {
    if (!item.speedProblem.empty()) return;
    if (item.speed == 0.0) {
        item.speedProblem = "a freeze frame has no sound; it is muted";
    } else if (item.speed < 0.0) {
        item.speedProblem = "reversed sound cannot be rendered; it is muted";
    } else if (!(item.speed >= MIN_SPEED && item.speed <= MAX_SPEED)) {
        item.speedProblem =
            "a speed of " + FormatShort(item.speed) + " is outside 0.01 to 100; it is muted";
    }
}

void ParseOwnMetadata(const json& metadata, Item& item, ImportReport& report) {
    for (const auto& [key, value] : metadata.items()) {
        if (key == "audioLevel") {
            item.level = LevelValue(value, "audioLevel", item.place, report);
        } else if (key == "muted") {
            item.muted = BoolMember(metadata, "muted", false, item.place, report);
        } else {
            report.Add("metadata.sonrel." + OneLine(key), item.place, "it is not taken over");
        }
    }
}

/// Which stream of the medium the clip takes, and whether it takes the whole of it.
void ParseResolveChannels(const json& metadata, Item& item, ImportReport& report) {
    const json* channels = Member(metadata, "Channels");
    if (channels == nullptr || !channels->is_array() || channels->empty()) return;
    bool oneStream = true;
    bool inOrder = true;
    for (std::size_t i = 0; i < channels->size(); ++i) {
        const json* stream = Member((*channels)[i], "Source Track ID");
        const json* channel = Member((*channels)[i], "Source Channel ID");
        const long long streamIndex =
            stream != nullptr && stream->is_number_integer() ? stream->get<long long>() : -1;
        if (streamIndex < 0 || streamIndex >= MAX_STREAMS) {
            report.Add("source stream", item.place, "it is no stream number; the first one sounds");
            return;
        }
        if (i == 0) item.stream = static_cast<int>(streamIndex);
        if (streamIndex != item.stream) oneStream = false;
        if (channel == nullptr || *channel != i) inOrder = false;
    }
    if (!oneStream) {
        report.Add("source streams", item.place, "of several only the first one sounds");
    } else if (!inOrder) {
        report.Add("source channels", item.place,
                   "all channels of the stream sound, in their order");
    }
}

}  // namespace

void ParseClip(const json& clip, Item& item, ImportReport& report) {
    ParseMedia(clip, item, report);
    for (const json& effect : ListMember(clip, "effects", item.place)) {
        ParseEffect(effect, item, report);
    }
    CheckSpeed(item);
    if (const json* metadata = MetadataOf(clip, RESOLVE)) {
        ParseResolveChannels(*metadata, item, report);
    }
    if (const json* metadata = MetadataOf(clip, "sonrel"))
        ParseOwnMetadata(*metadata, item, report);
}

void NoteEffects(const json& object, const Place& place, ImportReport& report) {
    for (const json& effect : ListMember(object, "effects", place)) {
        if (!BoolMember(effect, "enabled", true, place, report)) continue;
        const json* metadata = MetadataOf(effect, RESOLVE);
        const std::string name =
            metadata == nullptr ? EffectName(effect) : StringMember(*metadata, "Effect Name");
        report.Add("effect " + Quoted(name), place, "it is not taken over");
    }
}

}  // namespace orlo::host::otio
