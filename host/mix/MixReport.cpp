// SPDX-License-Identifier: MIT
#include "host/mix/MixReport.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "host/output/StandardOutput.h"
#include "host/shell/Summary.h"
#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"

namespace orlo::host {

namespace {

/// Maximum number of ranges in the table; the JSON report contains all.
constexpr std::size_t MAX_LISTED_CLIPS = 8;
constexpr int ROW_COLUMNS = 80;

Json ClipsJson(const std::vector<ClipRange>& clips, const FrameGrid& grid) {
    Json list = Json::Array();
    for (const ClipRange& range : clips) {
        list.Append(Json::Object({{"from", FormatTimecode(range.span.start, grid)},
                                  {"to", FormatTimecode(range.span.end, grid)},
                                  {"fromSample", range.span.start},
                                  {"toSample", range.span.end},
                                  {"channels", ClippedChannels(range)}}));
    }
    return list;
}

std::string ClipsText(const std::vector<ClipRange>& clips, const FrameGrid& grid) {
    std::string text;
    for (std::size_t i = 0; i < std::min(MAX_LISTED_CLIPS, clips.size()); ++i) {
        text += "    clips from " + FormatTimecode(clips[i].span.start, grid) + " to " +
                FormatTimecode(clips[i].span.end, grid) + ", " + ClippedChannels(clips[i]) + "\n";
    }
    if (clips.size() > MAX_LISTED_CLIPS) {
        text +=
            "    and at " + std::to_string(clips.size() - MAX_LISTED_CLIPS) + " more positions\n";
    }
    return text;
}

Json BlockJson(const sonrel::AudioTrackMetrics& block) {
    return Json::Object({{"samples", block.sampleCount},
                         {"peak", Json::Array({block.peak[0], block.peak[1]})},
                         {"clipped", Json::Array({block.clipped[0], block.clipped[1]})}});
}

Json OrNull(const std::optional<double>& value) {
    return value ? Json(*value) : Json();
}

std::string Decibels(double value) {
    return value > 0.0 ? FormatNumber(20.0 * std::log10(value), 1) + " dB" : "silent";
}

/// A row of at most 80 columns. A name that is too long is cut.
std::string Row(const std::string& kind, const std::string& name, const SignalSummary& signal) {
    std::string levels =
        ": peak " + Decibels(signal.peak[0]) + " left, " + Decibels(signal.peak[1]) + " right";
    if (!signal.clips.empty()) {
        levels += ", clips at " + Counted(static_cast<long long>(signal.clips.size()), "place");
    }
    const int room = ROW_COLUMNS - ColumnsOf("  " + kind + levels);
    std::string label = name;
    if (ColumnsOf(label) > room) label = CutToColumns(label, room - 4) + "...'";
    return "  " + kind + label + levels + "\n";
}

Json PartJson(const PartChoice& part) {
    return Json::Object({{"number", part.number}, {"count", part.count}});
}

}  // namespace

Json ReportHead(const MixOptions& options, const FrameGrid& grid, bool isTimeline) {
    const bool hasDither = isTimeline || options.normalize || options.gain;
    Json report;
    report["output"] = nullptr;
    if (options.composition) report["composition"] = *options.composition;
    if (options.part) report["part"] = PartJson(*options.part);
    if (options.stems) report["stems"] = Json::Array();
    report["rate"] = grid.rate;
    report["fps"] = grid.fps;
    report["grid"] = grid.factor;
    report["samples"] = 0;
    report["dither"] = hasDither ? DitherName(options.dither) : "none";
    report["seed"] = nullptr;
    if (hasDither) report["seed"] = options.seed == 0 ? Json("random") : Json(options.seed);
    if (isTimeline) report["tracks"] = Json::Array();
    report["master"] = nullptr;
    report["loudness"] = Json::Object({{"integrated", nullptr}, {"truePeak", nullptr}});
    report["missing"] = Json::Array();
    report["notTakenOver"] = Json::Array();
    return report;
}

Json MetersJson(const MeterBlocks& blocks, const std::vector<std::string>& trackNames, int rate,
                int blockFrames, long long firstSample) {
    Json document;
    document["rate"] = rate;
    document["blockFrames"] = blockFrames;
    document["firstSample"] = firstSample;
    std::vector<Json> tracks(trackNames.size(), Json::Array());
    Json master = Json::Array();
    for (unsigned long long i = 0; i < blocks.count; ++i) {
        const sonrel::AudioMetrics block = blocks.at(i);
        for (std::size_t track = 0; track < std::min(tracks.size(), block.trackMetrics.size());
             ++track) {
            tracks[track].Append(BlockJson(block.trackMetrics[track]));
        }
        master.Append(BlockJson(block.masterMetrics));
    }
    document["tracks"] = Json::Array();
    for (std::size_t track = 0; track < tracks.size(); ++track) {
        document["tracks"].Append(
            Json::Object({{"name", trackNames[track]}, {"blocks", std::move(tracks[track])}}));
    }
    document["master"]["blocks"] = std::move(master);
    return document;
}

std::string HeadText(const std::string& output, const FrameGrid& grid, long long samples) {
    const std::string name = output == STANDARD_OUTPUT ? "standard output" : OneLine(output);
    return name + ": " + FormatDuration(static_cast<double>(samples) / grid.rate) + ", " +
           std::to_string(samples) + " samples at " + std::to_string(grid.rate) + " Hz\n";
}

void FailOnClip(const std::string& output, const MeterSummary& meters, const FrameGrid& grid,
                Outcome& outcome) {
    if (meters.master.clips.empty()) return;
    outcome.Fail(ExitCode::ConditionFailed, "the mix " + Quoted(output) + " clips " +
                                                ClippingText(meters.master, grid) +
                                                "; lower the levels or the master level");
}

Json SignalJson(const SignalSummary& signal, const FrameGrid& grid) {
    Json json;
    json["name"] = signal.name;
    json["peak"] = Json::Array({signal.peak[0], signal.peak[1]});
    json["clippedBlocks"] = Json::Array({signal.clippedBlocks[0], signal.clippedBlocks[1]});
    json["clips"] = ClipsJson(signal.clips, grid);
    return json;
}

Json LoudnessJson(const LoudnessMeter& loudness) {
    return Json::Object({{"integrated", OrNull(loudness.IntegratedLufs())},
                         {"truePeak", OrNull(loudness.TruePeakDb())}});
}

Json LoudnessBlocksJson(const LoudnessMeter& loudness) {
    Json momentary = Json::Array();
    Json shortTerm = Json::Array();
    for (const LoudnessReading& reading : loudness.Readings()) {
        momentary.Append(OrNull(reading.momentary));
        shortTerm.Append(OrNull(reading.shortTerm));
    }
    return Json::Object({{"momentary", std::move(momentary)}, {"shortTerm", std::move(shortTerm)}});
}

std::string MetersText(const MeterSummary& meters, const FrameGrid& grid) {
    std::string text;
    for (std::size_t i = 0; i < meters.tracks.size(); ++i) {
        const SignalSummary& track = meters.tracks[i];
        text += Row("track " + std::to_string(i + 1) + " ", Quoted(track.name), track) +
                ClipsText(track.clips, grid);
    }
    return text + Row("master", {}, meters.master) + ClipsText(meters.master.clips, grid);
}

std::string LoudnessText(const LoudnessMeter& loudness) {
    const std::optional<double> lufs = loudness.IntegratedLufs();
    const std::optional<double> peak = loudness.TruePeakDb();
    return "  loudness: " + (lufs ? FormatNumber(*lufs, 1) + " LUFS" : "none") + ", true peak " +
           (peak ? FormatNumber(*peak, 1) + " dBTP" : "none") + "\n";
}

}  // namespace orlo::host
