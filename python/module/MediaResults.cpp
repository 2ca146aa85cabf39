// SPDX-License-Identifier: MIT
#include <pybind11/stl.h>

#include "python/module/Bindings.h"
#include "python/module/MediaResults.h"

namespace py = pybind11;

namespace orlo::python {

namespace {

const char* StatusName(host::FileStatus status) {
    switch (status) {
        case host::FileStatus::Made:
            return "made";
        case host::FileStatus::Found:
            return "found";
        case host::FileStatus::Missing:
            return "missing";
        case host::FileStatus::Failed:
            break;
    }
    return "failed";
}

const char* StateName(host::CacheEntry::State state) {
    switch (state) {
        case host::CacheEntry::State::Ok:
            return "ok";
        case host::CacheEntry::State::Missing:
            return "missing";
        case host::CacheEntry::State::Orphan:
            break;
    }
    return "orphan";
}

std::optional<std::string> TextOrNone(const std::string& text) {
    return text.empty() ? std::nullopt : std::make_optional(text);
}

void DeclareConformedFile(py::module_& module) {
    py::class_<ConformedSound>(module, "ConformedFile", "The result of conforming one sound.")
        .def_property_readonly(
            "input", [](const ConformedSound& sound) { return sound.entry.input; },
            "The input that uses the sound.")
        .def_property_readonly(
            "media", [](const ConformedSound& sound) { return TextOrNone(sound.entry.media); },
            "The path of the media file; None when the input could not be read.")
        .def_property_readonly(
            "rate", [](const ConformedSound& sound) { return sound.entry.rate; },
            "The sample rate in hertz.")
        .def_property_readonly(
            "status", [](const ConformedSound& sound) { return StatusName(sound.result.status); },
            "\"made\", \"found\", \"missing\" or \"failed\".")
        .def_property_readonly(
            "path", [](const ConformedSound& sound) { return TextOrNone(sound.result.path); },
            "The conformed file; None without a file.")
        .def_property_readonly(
            "error", [](const ConformedSound& sound) { return TextOrNone(sound.result.error); },
            "Why there is no file; None without a failure.");
}

void DeclareCacheEntry(py::module_& module) {
    py::class_<host::CacheEntry>(module, "CacheEntry", "A file of the cache, its record, or both.")
        .def_property_readonly(
            "state", [](const host::CacheEntry& entry) { return StateName(entry.state); },
            "\"ok\", \"missing\" (a record without its file) or \"orphan\" (a file without a "
            "record).")
        .def_readonly("kind", &host::CacheEntry::kind, "\"conformed\", \"peak\" or \"vfr\".")
        .def_readonly("file", &host::CacheEntry::file, "The name in the cache folder.")
        .def_readonly("bytes", &host::CacheEntry::bytes, "The size of the file.")
        .def_property_readonly(
            "media",
            [](const host::CacheEntry& entry) {
                return entry.record ? std::make_optional(entry.record->mediaPath) : std::nullopt;
            },
            "The path of the media file; None for an orphan.")
        .def_property_readonly(
            "rate",
            [](const host::CacheEntry& entry) {
                return entry.record ? std::make_optional(entry.record->sampleRate) : std::nullopt;
            },
            "The sample rate of a conformed file in hertz; 0 for other files.")
        .def_property_readonly(
            "last_use",
            [](const host::CacheEntry& entry) {
                return entry.record ? std::make_optional(
                                          static_cast<double>(entry.record->lastUseMs) / 1000.0)
                                    : std::nullopt;
            },
            "The time of the last use in seconds since 1970; None for an orphan.");
}

void DeclarePeaks(py::module_& module) {
    py::class_<PeakArrays>(module, "Peaks", "The peaks of a sound.")
        .def_readonly("rate", &PeakArrays::rate, "The sample rate of the stream in hertz.")
        .def_readonly("samples_per_point", &PeakArrays::samplesPerPoint,
                      "The length of a point in samples.")
        .def_readonly("peaks", &PeakArrays::peaks,
                      "Minimum and maximum of each point and channel: an int8 array of shape "
                      "(points, channels, 2), full scale 127.")
        .def_readonly("rms", &PeakArrays::rms,
                      "RMS of each point, all channels together: a uint8 array of shape "
                      "(points,), full scale 255.");
}

void DeclareAlignment(py::module_& module) {
    py::class_<host::Measure>(module, "AlignmentPlace",
                              "The comparison at one place along the overlap.")
        .def_property_readonly(
            "start", [](const host::Measure& measure) { return measure.place.start; },
            "The first sample of the place in the second recording.")
        .def_property_readonly(
            "length", [](const host::Measure& measure) { return measure.place.Count(); },
            "The length of the place in samples.")
        .def_readonly("offset", &host::Measure::offset, "The offset at this place in samples.")
        .def_readonly("correlation", &host::Measure::correlation, "From 0 to 1.");
    py::class_<AlignedPair>(module, "Alignment", "The offset between two recordings.")
        .def_property_readonly(
            "offset", [](const AlignedPair& pair) { return pair.result.found.refined.offset; },
            "The samples by which the second recording starts after the first recording.")
        .def_property_readonly(
            "seconds",
            [](const AlignedPair& pair) {
                return static_cast<double>(pair.result.found.refined.offset) / pair.rate;
            },
            "The offset in seconds.")
        .def_readonly("rate", &AlignedPair::rate, "The common sample rate in hertz.")
        .def_readonly("overlap", &AlignedPair::overlap, "The common length in samples.")
        .def_property_readonly(
            "correlation",
            [](const AlignedPair& pair) { return pair.result.found.refined.correlation; },
            "The similarity of the recordings at the offset, from 0 to 1.")
        .def_property_readonly(
            "chance", [](const AlignedPair& pair) { return pair.result.found.chance; },
            "The correlation that unrelated recordings reach.")
        .def_property_readonly(
            "verdict",
            [](const AlignedPair& pair) { return host::VerdictName(pair.result.verdict); },
            "\"aligned\", \"uncertain\" or \"unrelated\".")
        .def_property_readonly(
            "method",
            [](const AlignedPair& pair) { return host::MethodName(pair.result.found.method); },
            "The method that found the offset.")
        .def_property_readonly(
            "drift_ppm",
            [](const AlignedPair& pair) {
                return pair.result.drift ? std::make_optional(pair.result.drift->ppm)
                                         : std::nullopt;
            },
            "The drift of the first clock against the second clock in parts per million; None "
            "where it cannot be measured.")
        .def_property_readonly(
            "one_offset_fits", [](const AlignedPair& pair) { return pair.result.oneOffsetFits; },
            "False when the offset changes audibly along the overlap.")
        .def_property_readonly(
            "places", [](const AlignedPair& pair) { return pair.result.found.places; },
            "The comparisons along the overlap.")
        .def("__repr__", [](const AlignedPair& pair) {
            return "<sonrel.Alignment " + std::string(host::VerdictName(pair.result.verdict)) +
                   ", offset " + std::to_string(pair.result.found.refined.offset) + " samples>";
        });
}

}  // namespace

void DeclareMediaResults(py::module_& module) {
    DeclareConformedFile(module);
    DeclareCacheEntry(module);
    DeclarePeaks(module);
    DeclareAlignment(module);
}

}  // namespace orlo::python
