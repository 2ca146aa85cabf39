// SPDX-License-Identifier: MIT
#include "host/parsing/AafSound.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <utility>
#include <vector>

#include "host/otio/Fields.h"
#include "host/parsing/Numbers.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

/// The first parameter of an operation that exists. Null when there is none.
const Json* FirstOf(const Json& metadata, std::initializer_list<const char*> names) {
    const Json* parameters = Member(metadata, "Parameters");
    if (parameters == nullptr) return nullptr;
    for (const char* name : names) {
        if (const Json* value = Member(*parameters, name)) return value;
    }
    return nullptr;
}

/// The key frames of a parameter: pairs of a time, from 0 to 1 over the owner, and a value.
const Json::Items* CurveOf(const Json& parameter) {
    const Json* keys = Member(parameter, "keyframe_values");
    return keys != nullptr && keys->IsArray() ? &keys->AsArray() : nullptr;
}

struct Point {
    double time = 0.0;
    double value = 0.0;
};

std::vector<Point> PointsOf(const Json::Items& keys, const SoundTarget& target,
                            ImportReport& report) {
    std::vector<Point> points;
    for (const Json& key : keys) {
        const bool isPair = key.IsArray() && key.AsArray().size() == 2;
        const std::optional<double> time = isPair ? NumberIn(key.AsArray()[0]) : std::nullopt;
        const std::optional<double> value = isPair ? NumberIn(key.AsArray()[1]) : std::nullopt;
        if (time && value) {
            points.push_back({*time, *value});
        } else {
            report.Add("volume key frame", target.place,
                       "it has no usable time or value and is left out");
        }
    }
    return points;
}

void ParseAafGain(const Json& parameter, const SoundTarget& target, ImportReport& report) {
    if (const std::optional<double> gain = NumberIn(parameter)) {
        AddGain(target, *gain, report);
        return;
    }
    const Json::Items* list = CurveOf(parameter);
    if (list == nullptr) {
        report.Add("volume", target.place, "it is not a usable number and is ignored");
        return;
    }
    const std::vector<Point> points = PointsOf(*list, target, report);
    if (points.size() > 1 && target.seconds <= 0.0) {
        report.Add("volume key frame", target.place,
                   "the length of its owner is unknown; the first one is used");
    }
    std::vector<GainKey> keys;
    keys.reserve(points.size());
    for (const Point& point : points) {
        keys.push_back({point.time * target.seconds, point.value});
    }
    if (target.seconds <= 0.0 && !keys.empty()) keys.resize(1);
    if (keys.size() == 1) return AddGain(target, keys.front().gain, report);
    AddGains(target, std::move(keys), report);
}

/// A pan is from 0, left, to 1, right. Some programs write it from -1 to 1.
void ParseAafPan(const Json& parameter, const SoundTarget& target, ImportReport& report) {
    std::optional<double> pan = NumberIn(parameter);
    double lowest = pan.value_or(0.0);
    if (const Json::Items* list = CurveOf(parameter)) {
        const std::vector<Point> points = PointsOf(*list, target, report);
        if (points.empty()) return;
        pan = points.front().value;
        for (const Point& point : points) lowest = std::min(lowest, point.value);
        const bool moves = std::any_of(points.begin(), points.end(), [&](const Point& point) {
            return point.value != points.front().value;
        });
        if (moves) NoteMovingPan(target, report);
    }
    if (pan) {
        SetPan(target, lowest < 0.0 ? *pan : 2.0 * *pan - 1.0, report);
    } else {
        report.Add("pan", target.place, "it is not a usable number and is ignored");
    }
}

std::string OperationName(const Json& metadata) {
    const Json* operation = Member(metadata, "Operation");
    return operation == nullptr ? std::string() : StringMember(*operation, "Name");
}

double FadeFrames(const Json& metadata, const char* key) {
    const Json* value = Member(metadata, key);
    const double length = value == nullptr ? 0.0 : NumberIn(*value).value_or(0.0);
    return length > 0.0 && length <= std::numeric_limits<int>::max() ? length : 0.0;
}

}  // namespace

void ParseAafEffect(const Json& metadata, const std::string& name, const SoundTarget& target,
                    ImportReport& report) {
    const std::string operation = OperationName(metadata);
    const Json* gain = operation == "Mono Audio Gain" || operation == "Audio Gain"
                           ? FirstOf(metadata, {"Amplitude", "Amplitude multiplier", "Level"})
                           : nullptr;
    const Json* pan = operation == "Mono Audio Pan" || operation == "Audio Pan"
                          ? FirstOf(metadata, {"Pan value", "Pan", "Pan Value"})
                          : nullptr;
    if (gain != nullptr) {
        ParseAafGain(*gain, target, report);
    } else if (pan != nullptr) {
        ParseAafPan(*pan, target, report);
    } else {
        report.Add("effect " + Quoted(name), target.place, "it is not imported",
                   target.isPicture ? Severity::Note : Severity::Change);
    }
}

void ParseAafFades(const Json& metadata, double rate, const SoundTarget& target) {
    const double in = FadeFrames(metadata, "FadeInLength");
    const double out = FadeFrames(metadata, "FadeOutLength");
    if (rate <= 0.0 || (in == 0.0 && out == 0.0)) return;
    *target.fades = {in, out, target.fades->curve, rate};
}

}  // namespace orlo::host::otio
