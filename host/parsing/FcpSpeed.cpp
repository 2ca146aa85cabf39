// SPDX-License-Identifier: MIT
#include "host/parsing/FcpSpeed.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "host/otio/Fields.h"
#include "host/parsing/FcpSound.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

constexpr double PERCENT = 100.0;
/// Values of a graph are whole frames of the media in some files.
constexpr double MAX_FRAMES_OFF_LINE = 1.0;
constexpr double MIN_SHIFT_SECONDS = 0.0005;

/// A frame of the retimed clip and the frame of the media that it shows.
struct GraphPoint {
    double when = 0.0;
    double frame = 0.0;
};

std::optional<double> ValueOf(const Json& metadata, const char* id) {
    const Json* parameter = FcpParameter(metadata, id);
    return parameter == nullptr ? std::nullopt : FcpNumber(*parameter, "value");
}

bool IsTrue(const Json& metadata, const char* id) {
    const Json* parameter = FcpParameter(metadata, id);
    const Json* value = parameter == nullptr ? nullptr : Member(*parameter, "value");
    if (value == nullptr) return false;
    return value->IsString() ? LowerCase(value->AsString()) == "true"
                             : value->IsBool() && value->AsBool();
}

std::vector<GraphPoint> GraphOf(const Json& metadata) {
    std::vector<GraphPoint> points;
    const Json* graph = FcpParameter(metadata, "graphdict");
    if (graph == nullptr) return points;
    for (const Json* key : FcpElements(*graph, "keyframe")) {
        const std::optional<double> when = FcpNumber(*key, "when");
        const std::optional<double> frame = FcpNumber(*key, "value");
        if (when && frame) points.push_back({*when, *frame});
    }
    std::stable_sort(points.begin(), points.end(),
                     [](const GraphPoint& a, const GraphPoint& b) { return a.when < b.when; });
    return points;
}

/// Whether all points are on one line with the slope of the speed.
bool IsStraight(const std::vector<GraphPoint>& points, double speed) {
    return std::all_of(points.begin(), points.end(), [&](const GraphPoint& point) {
        const double expected = points.front().frame + speed * (point.when - points.front().when);
        return std::abs(point.frame - expected) <= MAX_FRAMES_OFF_LINE;
    });
}

/// The point from which the in-point is calculated: the nearest one.
GraphPoint NearestTo(const std::vector<GraphPoint>& points, double when) {
    return *std::min_element(points.begin(), points.end(),
                             [when](const GraphPoint& a, const GraphPoint& b) {
                                 return std::abs(a.when - when) < std::abs(b.when - when);
                             });
}

/// Replaces the in-point, which counts frames of the retimed clip.
void ConvertInPoint(const std::vector<GraphPoint>& points, double speed, double rate, Item& item,
                    ImportReport& report) {
    if (!item.sourceRange || item.sourceRange->start.rate <= 0.0) return;
    RationalTime& start = item.sourceRange->start;
    double begin = start.value / start.rate;
    if (item.media && item.media->availableRange) {
        const RationalTime& media = item.media->availableRange->start;
        if (media.rate > 0.0) begin -= media.value / media.rate;
    }
    const GraphPoint from = points.empty() ? GraphPoint() : NearestTo(points, begin * rate);
    const double source = from.frame / rate + speed * (begin - from.when / rate);
    if (points.empty() && std::abs(source - begin) > MIN_SHIFT_SECONDS) {
        report.Add("speed", item.place,
                   "the file has no graph of it; as a guess, the in-point counts frames of the "
                   "retimed clip");
    }
    start.value += (source - begin) * start.rate;
}

}  // namespace

bool IsFcpSpeed(const Json& metadata) {
    return StringMember(metadata, "effectid") == "timeremap";
}

void ParseFcpSpeed(const Json& metadata, double rate, Item& item, ImportReport& report) {
    if (IsFcpBypassed(metadata)) return;
    const std::optional<double> percent = ValueOf(metadata, "speed");
    if (!percent) {
        item.speedProblem = "a time remap without a usable speed; it is muted";
        return;
    }
    const double sign = IsTrue(metadata, "reverse") ? -1.0 : 1.0;
    const double speed = sign * *percent / PERCENT;
    const std::vector<GraphPoint> points = GraphOf(metadata);
    const bool isVariable = ValueOf(metadata, "variablespeed").value_or(0.0) != 0.0;
    if (speed > 0.0 && (isVariable || !IsStraight(points, speed))) {
        item.speedProblem = "a speed that changes cannot be rendered; it is muted";
        return;
    }
    item.speed *= speed;
    if (speed > 0.0) ConvertInPoint(points, speed, rate, item, report);
}

}  // namespace orlo::host::otio
