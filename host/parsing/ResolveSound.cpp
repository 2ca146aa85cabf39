// SPDX-License-Identifier: MIT
#include "host/parsing/ResolveSound.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "host/otio/Fields.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

constexpr const char* WRITER = "Resolve_OTIO";
constexpr const char* VOLUME_EFFECT = "Fairlight Clip Volume and Fades";
constexpr double MAX_PAN = 100.0;

/// Numbers of effects, whose names differ between versions.
enum EffectType { EqualiserBand = 63, Equaliser = 64, Pan = 72 };

bool HasType(const Json& metadata, EffectType type) {
    const Json* value = Member(metadata, "Type");
    return value != nullptr && value->AsInteger() == static_cast<long long>(type);
}

bool Ends(const std::string& name, const char* ending) {
    return LowerCase(name).ends_with(ending);
}

bool IsEqualiser(const Json& metadata) {
    const std::string name = StringMember(metadata, "Effect Name");
    return HasType(metadata, Equaliser) || Ends(name, "equaliser") || Ends(name, "equalizer");
}

bool IsEqualiserBand(const Json& metadata) {
    const std::string name = StringMember(metadata, "Effect Name");
    return HasType(metadata, EqualiserBand) || Ends(name, "equaliser band") ||
           Ends(name, "equalizer band");
}

bool IsEnabled(const Json& metadata) {
    const Json* enabled = Member(metadata, "Enabled");
    return enabled == nullptr || !enabled->IsBool() || enabled->AsBool();
}

/// The value of a key frame: a number, or an object that contains the number.
const Json& KeyFrameValue(const Json& key) {
    const Json* value = Member(key, "Value");
    return value == nullptr ? key : *value;
}

/// The key of the lowest frame.
const Json& FirstKey(const Json::Members& keys) {
    const auto frame = [](const Json::Member& key) { return ParseInteger(key.key).value_or(0); };
    return std::min_element(keys.begin(), keys.end(),
                            [&](const auto& a, const auto& b) { return frame(a) < frame(b); })
        ->value;
}

Level VolumeLevel(const Json& parameter, const SourceLocation& place, ImportReport& report) {
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

void ParseResolveFade(const Json& parameter, const std::string& id, double& frames,
                      const SourceLocation& place, ImportReport& report) {
    const Json* value = Member(parameter, "Parameter Value");
    if (value == nullptr) return;
    frames = FadeLength(*value, "parameter " + Quoted(id), place, report).value_or(frames);
}

void ParseResolveVolume(const Json::Items& parameters, const SoundTarget& target,
                        ImportReport& report) {
    for (const Json& parameter : parameters) {
        const std::string id = StringMember(parameter, "Parameter ID");
        if (id == "volume") {
            AddLevel(target, VolumeLevel(parameter, target.place, report), report);
        } else if (id == "faderIn" && target.fades != nullptr) {
            ParseResolveFade(parameter, id, target.fades->inFrames, target.place, report);
        } else if (id == "faderOut" && target.fades != nullptr) {
            ParseResolveFade(parameter, id, target.fades->outFrames, target.place, report);
        } else {
            report.Add("parameter " + Quoted(id) + " of the clip's volume", target.place,
                       "it is not imported");
        }
    }
}

void ParseResolvePan(const Json::Items& parameters, const SoundTarget& target,
                     ImportReport& report) {
    for (const Json& parameter : parameters) {
        const Json* value = Member(parameter, "Parameter Value");
        if (const Json* keys = Member(parameter, "Key Frames");
            keys != nullptr && keys->IsObject() && !keys->AsObject().empty()) {
            NoteMovingPan(target, report);
            value = &KeyFrameValue(FirstKey(keys->AsObject()));
        }
        const bool isPan = StringMember(parameter, "Parameter ID") == "pan";
        if (isPan && value != nullptr && value->IsNumber()) {
            SetPan(target, value->AsNumber() / MAX_PAN, report);
        } else {
            report.Add("pan", target.place, "it is not a usable number and is ignored");
        }
    }
}

}  // namespace

bool HasDisabledEqualiser(const Json::Items& effects) {
    return std::any_of(effects.begin(), effects.end(), [](const Json& effect) {
        const Json* metadata = MetadataOf(effect, WRITER);
        return metadata != nullptr && IsEqualiser(*metadata) && !IsEnabled(*metadata);
    });
}

void ParseResolveEffect(const Json& metadata, bool withoutBands, const SoundTarget& target,
                        ImportReport& report) {
    if (!BoolMember(metadata, "Enabled", true, target.place, report)) return;
    const Json* parameters = Member(metadata, "Parameters");
    const std::string name = StringMember(metadata, "Effect Name");
    const bool hasList = parameters != nullptr && parameters->IsArray();
    // An effect without parameters has only default values and changes nothing.
    if (hasList && parameters->AsArray().empty()) return;
    if (withoutBands && IsEqualiserBand(metadata)) return;
    if (hasList && name == VOLUME_EFFECT) {
        ParseResolveVolume(parameters->AsArray(), target, report);
    } else if (hasList && (HasType(metadata, Pan) || name == "Fairlight Clip Pan")) {
        ParseResolvePan(parameters->AsArray(), target, report);
    } else {
        report.Add("effect " + Quoted(name), target.place, "it is not imported",
                   target.isPicture ? Severity::Note : Severity::Change);
    }
}

std::optional<double> FadeLength(const Json& value, const std::string& what,
                                 const SourceLocation& place, ImportReport& report) {
    if (value.IsNumber()) {
        const auto frames = value.AsNumber();
        if (frames >= 0.0 && frames <= std::numeric_limits<int>::max()) return frames;
    }
    report.Add(what, place, "it is not a length from 0 to 2147483647 frames and is ignored");
    return std::nullopt;
}

}  // namespace orlo::host::otio
