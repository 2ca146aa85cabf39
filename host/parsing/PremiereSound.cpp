// SPDX-License-Identifier: MIT
#include "host/parsing/PremiereSound.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/otio/Fields.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

/// 15 decibels: the volume of a clip is stored as a part of the highest volume.
constexpr double CLIP_GAIN = 5.623413251903491;
/// The fader of a track is stored as a factor.
constexpr double TRACK_GAIN = 1.0;

/// Numbers of the parameters, whose names are in the language of the user.
constexpr int CLIP_MUTE = 0;
constexpr int CLIP_LEVEL = 1;
constexpr int FADER_VOLUME = 0;
constexpr int FADER_MUTE = 1;
constexpr int BALANCE = 0;

const Json::Items& ParametersOf(const Json& metadata) {
    static const Json::Items EMPTY;
    const Json* parameters = Member(metadata, "Parameters");
    return parameters != nullptr && parameters->IsArray() ? parameters->AsArray() : EMPTY;
}

/// Null when there is none.
const Json* ParameterOf(const Json& metadata, int id) {
    for (const Json& parameter : ParametersOf(metadata)) {
        const Json* value = Member(parameter, "ID");
        if (value != nullptr && value->AsInteger() == id) return &parameter;
    }
    return nullptr;
}

const Json::Items& KeysOf(const Json& parameter) {
    static const Json::Items EMPTY;
    const Json* keys = Member(parameter, "Keyframes");
    return keys != nullptr && keys->IsArray() ? keys->AsArray() : EMPTY;
}

/// The value of a parameter, or that of its first key frame. Null for a parameter that the user has
/// not changed, or without a parameter.
const Json* ValueOf(const Json* parameter) {
    if (parameter == nullptr) return nullptr;
    const Json::Items& keys = KeysOf(*parameter);
    if (!keys.empty()) return Member(keys.front(), "Value");
    const Json* start = Member(*parameter, "StartValue");
    if (start == nullptr) return nullptr;
    return start->IsObject() ? Member(*start, "Value") : start;
}

/// The time of the media at which a key frame is; nullopt when it has no usable time.
std::optional<double> PositionOf(const Json& key) {
    const Json* position = Member(key, "Position");
    const Json* value = position == nullptr ? nullptr : Member(*position, "value");
    const Json* rate = position == nullptr ? nullptr : Member(*position, "rate");
    if (value == nullptr || rate == nullptr || !value->IsNumber() || !rate->IsNumber()) {
        return std::nullopt;
    }
    return rate->AsNumber() > 0.0 ? std::optional(value->AsNumber() / rate->AsNumber())
                                  : std::nullopt;
}

void ParseKeys(const Json::Items& list, double factor, const SoundTarget& target,
               ImportReport& report) {
    std::vector<GainKey> keys;
    for (const Json& key : list) {
        const std::optional<double> position = PositionOf(key);
        const Json* value = Member(key, "Value");
        if (position && value != nullptr && value->IsNumber()) {
            keys.push_back({SecondsFromStart(target, *position), value->AsNumber() * factor});
        } else {
            report.Add("volume key frame", target.place,
                       "it has no usable time or value and is left out");
        }
    }
    AddGains(target, std::move(keys), report);
}

void ParseGain(const Json* parameter, double factor, const SoundTarget& target,
               ImportReport& report) {
    if (parameter == nullptr) return;
    if (KeysOf(*parameter).size() > 1) {
        ParseKeys(KeysOf(*parameter), factor, target, report);
        return;
    }
    const Json* value = ValueOf(parameter);
    if (value == nullptr) return;
    if (value->IsNumber()) {
        AddGain(target, value->AsNumber() * factor, report);
    } else {
        report.Add("volume", target.place, "it is not a usable number and is ignored");
    }
}

void ParseMute(const Json* parameter, const SoundTarget& target, ImportReport& report) {
    const Json* value = ValueOf(parameter);
    if (value == nullptr) return;
    if (KeysOf(*parameter).size() > 1) {
        report.Add("mute", target.place, "it has key frames; the first one is used");
    }
    const bool isMuted =
        (value->IsBool() && value->AsBool()) || (value->IsNumber() && value->AsNumber() >= 0.5);
    if (isMuted) *target.muted = true;
}

/// A balance is from 0, left, to 1, right.
void ParseBalance(const Json* parameter, const SoundTarget& target, ImportReport& report) {
    const Json* value = ValueOf(parameter);
    if (value == nullptr) return;
    if (KeysOf(*parameter).size() > 1) NoteMovingPan(target, report);
    if (value->IsNumber()) {
        SetPan(target, 2.0 * value->AsNumber() - 1.0, report);
    } else {
        report.Add("pan", target.place, "it is not a usable number and is ignored");
    }
}

/// Whether no parameter has a value, so that all have their defaults.
bool IsUnchanged(const Json& metadata) {
    const Json::Items& parameters = ParametersOf(metadata);
    return !parameters.empty() &&
           std::all_of(parameters.begin(), parameters.end(),
                       [](const Json& parameter) { return ValueOf(&parameter) == nullptr; });
}

}  // namespace

void ParsePremiereEffect(const Json& metadata, const std::string& name, const SoundTarget& target,
                         ImportReport& report) {
    const std::string kind = StringMember(metadata, "MatchName");
    if (kind.starts_with("Internal Volume")) {
        ParseGain(ParameterOf(metadata, CLIP_LEVEL), CLIP_GAIN, target, report);
        ParseMute(ParameterOf(metadata, CLIP_MUTE), target, report);
    } else if (kind == "AudioFader") {
        ParseGain(ParameterOf(metadata, FADER_VOLUME), TRACK_GAIN, target, report);
        ParseMute(ParameterOf(metadata, FADER_MUTE), target, report);
    } else if (kind == "PanProcessor" || kind == "Internal Audio Balance") {
        ParseBalance(ParameterOf(metadata, BALANCE), target, report);
    } else if (!kind.starts_with("AE.") && !IsUnchanged(metadata)) {
        report.Add("effect " + Quoted(name), target.place, "it is not imported",
                   target.isPicture ? Severity::Note : Severity::Change);
    }
}

}  // namespace orlo::host::otio
