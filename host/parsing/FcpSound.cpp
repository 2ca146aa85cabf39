// SPDX-License-Identifier: MIT
#include "host/parsing/FcpSound.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/otio/Fields.h"
#include "host/parsing/Numbers.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

void NoteUnusable(const char* what, const SoundTarget& target, ImportReport& report) {
    report.Add(what, target.place, "it is not a usable number and is ignored");
}

/// Levels are factors, and key frames count frames from the first frame of the media.
void ParseFcpLevel(const Json& parameter, double rate, const SoundTarget& target,
                   ImportReport& report) {
    const std::vector<const Json*> elements = FcpElements(parameter, "keyframe");
    std::vector<GainKey> keys;
    for (const Json* key : elements) {
        const std::optional<double> when = FcpNumber(*key, "when");
        const std::optional<double> value = FcpNumber(*key, "value");
        if (when && value) {
            keys.push_back({SecondsFromStartOfClip(target, *when / rate), *value});
        } else {
            report.Add("volume key frame", target.place,
                       "it has no usable time or value and is left out");
        }
    }
    if (!keys.empty()) return AddGains(target, std::move(keys), report);
    const std::optional<double> value = FcpNumber(parameter, "value");
    if (value) {
        AddGain(target, *value, report);
    } else {
        NoteUnusable("volume", target, report);
    }
}

void ParseFcpPan(const Json& parameter, const SoundTarget& target, ImportReport& report) {
    std::vector<const Json*> keys = FcpElements(parameter, "keyframe");
    if (keys.size() > 1) NoteMovingPan(target, report);
    const std::optional<double> value =
        FcpNumber(keys.empty() ? parameter : *keys.front(), "value");
    if (value) {
        SetPan(target, *value, report);
    } else {
        NoteUnusable("pan", target, report);
    }
}

}  // namespace

std::vector<const Json*> FcpElements(const Json& object, const char* key) {
    std::vector<const Json*> elements;
    const Json* value = Member(object, key);
    if (value == nullptr) return elements;
    if (!value->IsArray()) return {value};
    for (const Json& element : value->AsArray()) elements.push_back(&element);
    return elements;
}

const Json* FcpParameter(const Json& metadata, const std::string& id) {
    for (const Json* parameter : FcpElements(metadata, "parameter")) {
        std::string name = StringMember(*parameter, "parameterid");
        if (name.empty()) name = LowerCase(StringMember(*parameter, "name"));
        if (name == id) return parameter;
    }
    return nullptr;
}

bool IsFcpBypassed(const Json& object) {
    return LowerCase(StringMember(object, "pproBypass")) == "true";
}

std::optional<double> FcpNumber(const Json& object, const char* key) {
    const Json* value = Member(object, key);
    return value == nullptr ? std::nullopt : NumberIn(*value);
}

void ParseFcpEffect(const Json& metadata, const std::string& name, double rate,
                    const SoundTarget& target, ImportReport& report) {
    const std::string id = StringMember(metadata, "effectid");
    const bool isLevel = id == "audiolevels";
    const bool isPan = id == "audiopan";
    if (!isLevel && !isPan) {
        report.Add("effect " + Quoted(name), target.place, "it is not imported",
                   target.isPicture ? Severity::Note : Severity::Change);
        return;
    }
    const Json* parameter = FcpParameter(metadata, isLevel ? "level" : "pan");
    if (IsFcpBypassed(metadata) || parameter == nullptr || IsFcpBypassed(*parameter)) return;
    if (isLevel) {
        ParseFcpLevel(*parameter, rate, target, report);
    } else {
        ParseFcpPan(*parameter, target, report);
    }
}

}  // namespace orlo::host::otio
