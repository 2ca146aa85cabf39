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

std::string StartsText(const RecordingPair& pair, const AlignmentAnswer& answer,
                       const FrameGrid& grid) {
    const long long offset = answer.found.refined.offset;
    const std::string a = Quoted(pair.A().input);
    const std::string b = Quoted(pair.B().input);
    if (answer.tooShort) return TooShortClause(pair);
    if (answer.verdict == Verdict::Unrelated) {
        return "nothing was found that " + a + " and " + b + " have in common";
    }
    if (offset == 0) return a + " and " + b + " start together";
    const long long distance = std::llabs(offset);
    const double seconds = static_cast<double>(distance) / pair.Rate();
    return b + " starts " + FormatNumber(seconds, 6) + " s (" + FormatTimecode(distance, grid) +
           ", " + std::to_string(distance) + " sample frames) " +
           (offset > 0 ? "after " : "before ") + a;
}

std::string DriftText(const AlignmentAnswer& answer, int rate) {
    if (!answer.drift) return {};
    std::string text = "  drift       " + FormatNumber(answer.drift->ppm, 2) + " ppm (" +
                       FormatNumber(Milliseconds(answer.drift->change, rate), 2) +
                       " ms along the overlap), residual " +
                       FormatNumber(answer.drift->residual, 1) + " sample frames\n";
    return text;
}

const char* MethodText(AlignmentMethod method) {
    switch (method) {
        case AlignmentMethod::Search:
            return "found by the search for the loudest seconds";
        case AlignmentMethod::Levels:
            return "found by when the levels rise";
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

Json AlignmentJson(const RecordingPair& pair, const AlignmentAnswer& answer) {
    const Measure& refined = answer.found.refined;
    Json result;
    result["a"] = pair.A().input;
    result["b"] = pair.B().input;
    result["rate"] = pair.Rate();
    result["engine"] = CorrelationJson(answer.engine.correlation, answer.engine.offset);
    result["refined"] = CorrelationJson(refined.correlation, refined.offset);
    result["offset"] = refined.offset;
    result["seconds"] = static_cast<double>(refined.offset) / pair.Rate();
    result["drift"] = Json();
    if (answer.drift) {
        result["drift"] =
            Json::Object({{"ppm", answer.drift->ppm}, {"residual", answer.drift->residual}});
    }
    result["chance"] = answer.found.chance;
    result["verdict"] = VerdictName(answer.verdict);
    result["tooShort"] = answer.tooShort;
    result["way"] = MethodName(answer.found.method);
    result["oneOffsetFits"] = answer.oneOffsetFits;
    result["overlap"] = pair.OverlapAt(refined.offset).Count();
    result["places"] = PlacesJson(answer.found.places);
    return result;
}

std::string AlignmentText(const RecordingPair& pair, const AlignmentAnswer& answer,
                          const FrameGrid& grid) {
    const Measure& refined = answer.found.refined;
    const double overlap =
        static_cast<double>(pair.OverlapAt(refined.offset).Count()) / pair.Rate();
    std::string text = StartsText(pair, answer, grid) + "\n";
    text += "  engine      correlation " + Correlation(answer.engine.correlation) + ", offset " +
            std::to_string(answer.engine.offset) + "\n";
    text += "  refined     correlation " + Correlation(refined.correlation) + ", offset " +
            std::to_string(refined.offset) + ", " + MethodText(answer.found.method) + "\n";
    text += "  overlap     " + FormatDuration(overlap) +
            ", places measured: " + std::to_string(answer.found.places.size()) + "\n";
    text += DriftText(answer, pair.Rate());
    if (!answer.oneOffsetFits) {
        text += "  warning     one offset cannot fit: the offset changes along the overlap\n";
    }
    text += std::string("  verdict     ") + VerdictName(answer.verdict) + "\n";
    return text;
}

}  // namespace orlo::host
