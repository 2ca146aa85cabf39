// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

/// Parts of OpenTimelineIO documents as editing programs write them.
namespace sonrel_tests {

using Json = nlohmann::ordered_json;

inline Json Time(double value, double rate) {
    return {{"OTIO_SCHEMA", "RationalTime.1"}, {"value", value}, {"rate", rate}};
}

inline Json Range(double start, double duration, double rate) {
    return {{"OTIO_SCHEMA", "TimeRange.1"},
            {"start_time", Time(start, rate)},
            {"duration", Time(duration, rate)}};
}

inline Json File(const std::string& url) {
    return {{"OTIO_SCHEMA", "ExternalReference.1"}, {"target_url", url}};
}

/// A clip of @p duration values from @p start on, both at @p rate.
inline Json Clip(const std::string& url, double start, double duration, double rate = 25) {
    return {{"OTIO_SCHEMA", "Clip.1"},
            {"name", "clip"},
            {"source_range", Range(start, duration, rate)},
            {"media_reference", File(url)},
            {"metadata", Json::object()},
            {"effects", Json::array()}};
}

inline Json Gap(double duration, double rate = 25) {
    return {{"OTIO_SCHEMA", "Gap.1"}, {"name", ""}, {"source_range", Range(0, duration, rate)}};
}

inline Json Track(std::vector<Json> children, const std::string& name = "A1",
                  const std::string& kind = "Audio") {
    return {{"OTIO_SCHEMA", "Track.1"},
            {"name", name},
            {"kind", kind},
            {"metadata", Json::object()},
            {"children", Json(std::move(children))}};
}

inline Json Stack(std::vector<Json> children) {
    return {
        {"OTIO_SCHEMA", "Stack.1"}, {"name", "tracks"}, {"children", Json(std::move(children))}};
}

inline Json Timeline(std::vector<Json> tracks) {
    return {{"OTIO_SCHEMA", "Timeline.1"},
            {"name", "edit"},
            {"metadata", Json::object()},
            {"tracks", Stack(std::move(tracks))}};
}

/// A transition that covers @p in values of the item before it and @p out of the item after it.
inline Json Dissolve(double in, double out, double rate = 25) {
    return {{"OTIO_SCHEMA", "Transition.1"},       {"name", "x"},
            {"transition_type", "SMPTE_Dissolve"}, {"in_offset", Time(in, rate)},
            {"out_offset", Time(out, rate)},       {"metadata", Json::object()}};
}

/// A timeline, track, clip or transition with Sonrel metadata.
inline Json WithOurs(Json object, const Json& values) {
    object["metadata"]["sonrel"] = values;
    return object;
}

inline Json Named(Json object, const std::string& name) {
    object["name"] = name;
    return object;
}

inline Json WithRange(Json object, double start, double duration, double rate = 25) {
    object["source_range"] = Range(start, duration, rate);
    return object;
}

inline Json TimeWarp(double speed) {
    return {{"OTIO_SCHEMA", "LinearTimeWarp.1"}, {"time_scalar", speed}};
}

}  // namespace sonrel_tests
