// SPDX-License-Identifier: MIT
#include "host/align/AlignmentReport.h"

#include <cmath>
#include <cstdlib>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

std::string Correlation(double value) {
    return FormatNumber(value, 3);
}

double Milliseconds(double frames, int rate) {
    return frames / rate * 1000.0;
}

Json CorrelationJson(double correlation, long long offset) {
    return Json::Object({{"correlation", correlation}, {"offset", offset}});
}

Json PlacesJson(const std::vector<Measure>& places) {
    Json list = Json::Array();
    for (const Measure& place : places) {
        list.Append(Json::Object({{"start", place.place.start},
                                  {"length", place.place.Count()},
                                  {"correlation", place.correlation},
                                  {"offset", place.offset}}));
    }
    return list;
}

std::string StartsText(const RecordingPair& pair, const AlignmentResult& result,
                       const FrameGrid& grid) {
    const long long offset = result.found.refined.offset;
    const std::string a = Quoted(pair.A().input);
    const std::string b = Quoted(pair.B().input);
    if (result.tooShort) return TooShortClause(pair);
    if (result.verdict == Verdict::Unrelated) {
        return a + " and " + b + " have nothing in common";
    }
    if (offset == 0) return a + " and " + b + " start together";
    const long long distance = std::llabs(offset);
    const double seconds = static_cast<double>(distance) / pair.Rate();
    return b + " starts " + FormatNumber(seconds, 6) + " s (" + FormatTimecode(distance, grid) +
           ", " + std::to_string(distance) + " sample frames) " +
           (offset > 0 ? "after " : "before ") + a;
}

std::string DriftText(const AlignmentResult& result, int rate) {
    if (!result.drift) return {};
    std::string text = "  drift       " + FormatNumber(result.drift->ppm, 2) + " ppm (" +
                       FormatNumber(Milliseconds(result.drift->change, rate), 2) +
                       " ms along the overlap), residual " +
                       FormatNumber(result.drift->residual, 1) + " sample frames\n";
    return text;
}

const char* MethodText(AlignmentMethod method) {
    switch (method) {
        case AlignmentMethod::Search:
            return "found by the search for the loudest seconds";
        case AlignmentMethod::Levels:
            return "found by comparing the rises of the levels";
        case AlignmentMethod::OtherPlaces:
            return "found by following other places along the overlap";
        case AlignmentMethod::LoudSeconds:
            return "found by searching for other loud seconds";
        case AlignmentMethod::Ranges:
            break;
    }
    return "found by comparing ranges";
}

}  // namespace

std::string TooShortClause(const RecordingPair& pair) {
    const Recording& shorter = pair.ReferenceIsA() ? pair.A() : pair.B();
    return Quoted(shorter.input) + " is too short to judge: it has " +
           std::to_string(shorter.Frames()) + " of the " +
           std::to_string(MinJudgedFrames(pair.Rate())) + " sample frames (0.1 s) that align needs";
}

Json AlignmentJson(const RecordingPair& pair, const AlignmentResult& result) {
    const Measure& refined = result.found.refined;
    Json json;
    json["a"] = pair.A().input;
    json["b"] = pair.B().input;
    json["rate"] = pair.Rate();
    json["engine"] = CorrelationJson(result.engine.correlation, result.engine.offset);
    json["refined"] = CorrelationJson(refined.correlation, refined.offset);
    json["offset"] = refined.offset;
    json["seconds"] = static_cast<double>(refined.offset) / pair.Rate();
    json["drift"] = Json();
    if (result.drift) {
        json["drift"] =
            Json::Object({{"ppm", result.drift->ppm}, {"residual", result.drift->residual}});
    }
    json["chance"] = result.found.chance;
    json["verdict"] = VerdictName(result.verdict);
    json["tooShort"] = result.tooShort;
    json["way"] = MethodName(result.found.method);
    json["oneOffsetFits"] = result.oneOffsetFits;
    json["overlap"] = pair.OverlapAt(refined.offset).Count();
    json["places"] = PlacesJson(result.found.places);
    return json;
}

std::string AlignmentText(const RecordingPair& pair, const AlignmentResult& result,
                          const FrameGrid& grid) {
    const Measure& refined = result.found.refined;
    const double overlap =
        static_cast<double>(pair.OverlapAt(refined.offset).Count()) / pair.Rate();
    std::string text = StartsText(pair, result, grid) + "\n";
    text += "  engine      correlation " + Correlation(result.engine.correlation) + ", offset " +
            std::to_string(result.engine.offset) + "\n";
    text += "  refined     correlation " + Correlation(refined.correlation) + ", offset " +
            std::to_string(refined.offset) + ", " + MethodText(result.found.method) + "\n";
    text += "  overlap     " + FormatDuration(overlap) +
            ", places measured: " + std::to_string(result.found.places.size()) + "\n";
    text += DriftText(result, pair.Rate());
    if (!result.oneOffsetFits) {
        text += "  warning     one offset cannot fit: the offset changes along the overlap\n";
    }
    text += std::string("  verdict     ") + VerdictName(result.verdict) + "\n";
    return text;
}

}  // namespace orlo::host
