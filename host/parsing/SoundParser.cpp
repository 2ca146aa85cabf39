// SPDX-License-Identifier: MIT
#include "host/parsing/SoundParser.h"

#include <optional>
#include <vector>

#include "host/otio/Fields.h"
#include "host/parsing/AafSound.h"
#include "host/parsing/FcpSound.h"
#include "host/parsing/FcpSpeed.h"
#include "host/parsing/PremiereSound.h"
#include "host/parsing/ResolveSound.h"
#include "host/parsing/SoundTarget.h"
#include "host/parsing/StreamEffects.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

constexpr const char* RESOLVE_METADATA = "Resolve_OTIO";
constexpr const char* AAF_METADATA = "AAF";

/// Rate of key frames in frames, of an owner without a rate.
constexpr double DEFAULT_KEY_RATE = 25.0;

void ParseTimeWarp(const Json& effect, Item& item) {
    const Json* scalar = Member(effect, "time_scalar");
    if (scalar == nullptr || !scalar->IsNumber()) {
        item.speedProblem = "a time warp without a finite time_scalar; it is muted";
        return;
    }
    item.speed *= scalar->AsNumber();
}

std::string EffectName(const Json& effect) {
    for (const char* key : {"effect_name", "name"}) {
        std::string name = StringMember(effect, key);
        if (!name.empty()) return name;
    }
    return SchemaName(effect);
}

/// Parses the speed in an effect. @return whether the effect is a speed
bool ParseSpeed(const Json& effect, Item& item) {
    const std::string schema = SchemaName(effect);
    if (schema == "LinearTimeWarp") {
        ParseTimeWarp(effect, item);
    } else if (schema == "FreezeFrame") {
        item.speedProblem = "a freeze frame has no sound; it is muted";
    } else if (schema == "TimeEffect") {
        item.speedProblem = "a speed that changes cannot be rendered; it is muted";
    } else {
        return false;
    }
    return true;
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

/// Parses the effect of another program, or reports it.
/// @param rate  of the frames of its owner
void ParseForeignEffect(const Json& effect, bool withoutBands, double rate,
                        const SoundTarget& target, ImportReport& report) {
    const std::string name = EffectName(effect);
    if (const Json* resolve = MetadataOf(effect, RESOLVE_METADATA)) {
        ParseResolveEffect(*resolve, withoutBands, target, report);
    } else if (const Json* premiere = MetadataOf(effect, "PremierePro_OTIO")) {
        ParsePremiereEffect(*premiere, name, target, report);
    } else if (const Json* fcp = MetadataOf(effect, "fcp_xml")) {
        ParseFcpEffect(*fcp, name, rate, target, report);
    } else if (const Json* aaf = MetadataOf(effect, AAF_METADATA)) {
        ParseAafEffect(*aaf, name, target, report);
    } else {
        report.Add("effect " + Quoted(name), target.place, "it is not imported",
                   target.isPicture ? Severity::Note : Severity::Change);
    }
}

/// The rate of the frames of an item, or the default.
double FrameRateOf(const Item& item) {
    const double rate = item.sourceRange ? item.sourceRange->duration.rate : 0.0;
    return rate > 0.0 ? rate : DEFAULT_KEY_RATE;
}

/// The metadata of an effect that is a speed of FCP 7; null for other effects.
const Json* FcpSpeedOf(const Json& effect) {
    const Json* metadata = MetadataOf(effect, "fcp_xml");
    return metadata != nullptr && IsFcpSpeed(*metadata) ? metadata : nullptr;
}

/// The speeds come first: they change the times of key frames. A speed of FCP 7 comes last: key
/// frames count the frames of the retimed clip, like its in-point.
void ParseEffects(const Json& object, Item& item, ImportReport& report) {
    const Json::Items& effects = ListMember(object, "effects", item.place);
    std::vector<const Json*> others;
    std::vector<const Json*> fcpSpeeds;
    for (const Json& effect : effects) {
        if (!BoolMember(effect, "enabled", true, item.place, report)) continue;
        // A stream effect is a part of the channel mapping.
        const bool isStream = item.kind == Item::Kind::Clip && IsStreamEffect(SchemaName(effect));
        if (const Json* speed = FcpSpeedOf(effect)) {
            fcpSpeeds.push_back(speed);
        } else if (!isStream && !ParseSpeed(effect, item)) {
            others.push_back(&effect);
        }
    }
    CheckSpeed(item);
    const SoundTarget target = TargetOf(item);
    const bool withoutBands = HasDisabledEqualiser(effects);
    for (const Json* effect : others) {
        ParseForeignEffect(*effect, withoutBands, FrameRateOf(item), target, report);
    }
    if (const Json* aaf = MetadataOf(object, AAF_METADATA))
        ParseAafFades(*aaf, FrameRateOf(item), target);
    for (const Json* speed : fcpSpeeds) ParseFcpSpeed(*speed, FrameRateOf(item), item, report);
    CheckSpeed(item);
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
    ParseEffects(object, item, report);
    if (const Json* metadata = OwnMetadataOf(object, item.place, report)) {
        ParseOwnMetadata(*metadata, item, report);
    }
}

void ParseTrackEffects(const Json& object, Track& track, ImportReport& report) {
    const SoundTarget target = TargetOf(track);
    for (const Json& effect : ListMember(object, "effects", track.place)) {
        if (!BoolMember(effect, "enabled", true, track.place, report)) continue;
        ParseForeignEffect(effect, false, DEFAULT_KEY_RATE, target, report);
    }
}

void ParseTransition(const Json& transition, Item& item, ImportReport& report) {
    TransitionSpan& span = item.transition;
    span.inOffset = TimeMember(transition, "in_offset", item.place, report);
    span.outOffset = TimeMember(transition, "out_offset", item.place, report);
    span.type = StringMember(transition, "transition_type");
    const Json* metadata = OwnMetadataOf(transition, item.place, report);
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
        const Json* metadata = MetadataOf(effect, RESOLVE_METADATA);
        const std::string name =
            metadata == nullptr ? EffectName(effect) : StringMember(*metadata, "Effect Name");
        report.Add("effect " + Quoted(name), place, "it is not imported");
    }
}

}  // namespace orlo::host::otio
