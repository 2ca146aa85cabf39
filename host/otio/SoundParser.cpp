// SPDX-License-Identifier: MIT
#include "host/otio/SoundParser.h"

#include <cmath>
#include <limits>
#include <optional>

#include "host/otio/Fields.h"
#include "host/otio/StreamEffects.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

constexpr const char* RESOLVE = "Resolve_OTIO";
constexpr const char* RESOLVE_VOLUME_EFFECT = "Fairlight Clip Volume and Fades";

void ParseTimeWarp(const Json& effect, Item& item) {
    const Json* scalar = Member(effect, "time_scalar");
    if (scalar == nullptr || !scalar->IsNumber()) {
        item.speedProblem = "a time warp without a finite time_scalar; it is muted";
        return;
    }
    item.speed *= scalar->AsNumber();
}

/// The value of a key frame: a number, or an object that contains the number.
const Json& KeyFrameValue(const Json& key) {
    const Json* value = Member(key, "Value");
    return value == nullptr ? key : *value;
}

Level ResolveLevel(const Json& parameter, const SourceLocation& place, ImportReport& report) {
    Level level;
    level.clock = Level::Clock::Frames;
    if (const Json* keys = Member(parameter, "Key Frames"); keys != nullptr && keys->IsObject()) {
        for (const auto& [frame, key] : keys->AsObject()) {
            const std::optional<long long> time = ParseInteger(frame);
            const std::optional<float> decibels =
                FloatValue(KeyFrameValue(key), "volume key frame", place, report);
            if (!time) {
                report.Add("volume key frame", place,
                           "its time is not a frame number; it is left out");
            } else if (decibels) {
                level.keys.push_back({static_cast<double>(*time), *decibels});
            }
        }
    }
    if (!level.keys.empty()) return level;
    if (const Json* value = Member(parameter, "Parameter Value")) {
        level.decibels = FloatValue(*value, "volume", place, report);
    }
    return level;
}

/// The length of a fade in frames. A value that is not a length is reported; the result is
/// nullopt.
std::optional<double> FadeLength(const Json& value, const std::string& what,
                                 const SourceLocation& place, ImportReport& report) {
    if (value.IsNumber()) {
        const auto frames = value.AsNumber();
        if (frames >= 0.0 && frames <= std::numeric_limits<int>::max()) return frames;
    }
    report.Add(what, place, "it is not a length from 0 to 2147483647 frames and is ignored");
    return std::nullopt;
}

void ParseResolveFade(const Json& parameter, const std::string& id, double& frames,
                      const SourceLocation& place, ImportReport& report) {
    const Json* value = Member(parameter, "Parameter Value");
    if (value == nullptr) return;
    frames = FadeLength(*value, "parameter " + Quoted(id), place, report).value_or(frames);
}

void ParseResolveVolume(const Json& parameters, Item& item, ImportReport& report) {
    for (const Json& parameter : parameters.AsArray()) {
        const std::string id = StringMember(parameter, "Parameter ID");
        if (id == "volume") {
            item.level = ResolveLevel(parameter, item.place, report);
        } else if (id == "faderIn") {
            ParseResolveFade(parameter, id, item.fades.inFrames, item.place, report);
        } else if (id == "faderOut") {
            ParseResolveFade(parameter, id, item.fades.outFrames, item.place, report);
        } else {
            report.Add("parameter " + Quoted(id) + " of the clip's volume", item.place,
                       "it is not imported");
        }
    }
}

/// Parses an effect in the metadata of the other program.
void ParseResolveEffect(const Json& metadata, Item& item, ImportReport& report) {
    if (!BoolMember(metadata, "Enabled", true, item.place, report)) return;
    const Json* parameters = Member(metadata, "Parameters");
    const std::string name = StringMember(metadata, "Effect Name");
    // An effect without parameters has only default values and changes nothing.
    if (parameters != nullptr && parameters->IsArray() && parameters->AsArray().empty()) return;
    if (name == RESOLVE_VOLUME_EFFECT && parameters != nullptr && parameters->IsArray()) {
        ParseResolveVolume(*parameters, item, report);
    } else {
        report.Add("effect " + Quoted(name), item.place, "it is not imported");
    }
}

std::string EffectName(const Json& effect) {
    for (const char* key : {"effect_name", "name"}) {
        std::string name = StringMember(effect, key);
        if (!name.empty()) return name;
    }
    return SchemaName(effect);
}

void ParseEffect(const Json& effect, Item& item, ImportReport& report) {
    if (!BoolMember(effect, "enabled", true, item.place, report)) return;
    const std::string schema = SchemaName(effect);
    if (schema == "LinearTimeWarp") {
        ParseTimeWarp(effect, item);
    } else if (schema == "FreezeFrame") {
        item.speedProblem = "a freeze frame has no sound; it is muted";
    } else if (schema == "TimeEffect") {
        item.speedProblem = "a speed that changes cannot be rendered; it is muted";
    } else if (IsStreamEffect(schema) && item.kind == Item::Kind::Clip) {
        // It is a part of the channel mapping.
        return;
    } else if (const Json* metadata = MetadataOf(effect, RESOLVE)) {
        ParseResolveEffect(*metadata, item, report);
    } else {
        report.Add("effect " + Quoted(EffectName(effect)), item.place, "it is not imported");
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

/// A parameter value for the plugin pack; nullopt when it is neither a number nor a string.
std::optional<std::variant<double, std::string>> ParameterValue(const Json& value) {
    if (value.IsNumber()) return value.AsNumber();
    if (value.IsString()) return value.AsString();
    return std::nullopt;
}

/// @return nullopt when the effect is skipped, which is then reported
std::optional<EffectRequest> ParseRequest(const Json& effect, const SourceLocation& place,
                                          ImportReport& report) {
    EffectRequest request;
    request.plugin = StringMember(effect, "plugin");
    if (request.plugin.empty()) {
        report.Add("effect", place, "it does not name a plugin and is skipped");
        return std::nullopt;
    }
    request.enabled = BoolMember(effect, "enabled", true, place, report);
    const std::string what = "effect " + Quoted(request.plugin);
    const Json* parameters = Member(effect, "parameters");
    if (parameters == nullptr || parameters->IsNull()) return request;
    if (!parameters->IsObject()) {
        report.Add(what, place, "its parameters are not an object; it is skipped");
        return std::nullopt;
    }
    for (const auto& [name, value] : parameters->AsObject()) {
        const auto parameter = ParameterValue(value);
        if (!parameter) {
            report.Add(what, place,
                       "its " + OneLine(name) + " is not a finite number; it is skipped");
            return std::nullopt;
        }
        request.parameters.emplace(name, *parameter);
    }
    return request;
}

void ParseRequests(const Json& effects, Item& item, ImportReport& report) {
    if (!effects.IsArray()) {
        report.Add("effects", item.place, "they are not a list and are ignored");
        return;
    }
    for (const Json& effect : effects.AsArray()) {
        const std::optional<EffectRequest> request = ParseRequest(effect, item.place, report);
        if (request) item.effects.push_back(*request);
    }
}

void ParseCurve(const Json& value, std::string& curve, const std::string& what,
                const SourceLocation& place, ImportReport& report) {
    const std::string name = value.IsString() ? value.AsString() : std::string();
    if (name == "linear" || name == "equal-power" || name == "db") {
        curve = name;
    } else {
        report.Add(what, place, "it is not linear, equal-power or db; equal-power is used");
    }
}

void ParseOwnMetadata(const Json& metadata, Item& item, ImportReport& report) {
    if (item.kind == Item::Kind::Clip) {
        item.soundSetting = ParseSoundSetting(metadata, item.place, report);
    }
    for (const auto& [key, value] : metadata.AsObject()) {
        if (key == "audioLevel") {
            item.level = LevelValue(value, "audioLevel", item.place, report);
        } else if (key == "muted") {
            item.muted = BoolMember(metadata, "muted", false, item.place, report);
        } else if (key == "effects") {
            ParseRequests(value, item, report);
        } else if (key == "fadeIn") {
            item.fades.inFrames =
                FadeLength(value, key, item.place, report).value_or(item.fades.inFrames);
        } else if (key == "fadeOut") {
            item.fades.outFrames =
                FadeLength(value, key, item.place, report).value_or(item.fades.outFrames);
        } else if (key == "fadeCurve") {
            ParseCurve(value, item.fades.curve, key, item.place, report);
        } else if ((key == "stream" || key == "channels") && item.kind == Item::Kind::Clip) {
            continue;
        } else {
            report.Add("metadata.sonrel." + OneLine(key), item.place, "it is not imported");
        }
    }
}

}  // namespace

void ParseSound(const Json& object, Item& item, ImportReport& report) {
    for (const Json& effect : ListMember(object, "effects", item.place)) {
        ParseEffect(effect, item, report);
    }
    CheckSpeed(item);
    if (const Json* metadata = MetadataOf(object, "sonrel")) {
        ParseOwnMetadata(*metadata, item, report);
    }
}

void ParseTransition(const Json& transition, Item& item, ImportReport& report) {
    TransitionSpan& span = item.transition;
    span.inOffset = TimeMember(transition, "in_offset", item.place, report);
    span.outOffset = TimeMember(transition, "out_offset", item.place, report);
    span.type = StringMember(transition, "transition_type");
    const Json* metadata = MetadataOf(transition, "sonrel");
    if (metadata == nullptr) return;
    for (const auto& [key, value] : metadata->AsObject()) {
        if (key == "curve") {
            ParseCurve(value, span.curve, "curve", item.place, report);
        } else {
            report.Add("metadata.sonrel." + OneLine(key), item.place, "it is not imported");
        }
    }
}

void NoteEffects(const Json& object, const SourceLocation& place, ImportReport& report) {
    for (const Json& effect : ListMember(object, "effects", place)) {
        if (!BoolMember(effect, "enabled", true, place, report)) continue;
        const Json* metadata = MetadataOf(effect, RESOLVE);
        const std::string name =
            metadata == nullptr ? EffectName(effect) : StringMember(*metadata, "Effect Name");
        report.Add("effect " + Quoted(name), place, "it is not imported");
    }
}

}  // namespace orlo::host::otio
