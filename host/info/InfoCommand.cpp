// SPDX-License-Identifier: MIT
#include "host/info/InfoCommand.h"

#include <map>
#include <set>

#include "host/info/TimelineTree.h"
#include "host/info/UnusedSound.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "host/timeline/MediaCatalog.h"
#include "host/timeline/MediaComparison.h"
#include "host/timeline/Strictness.h"
#include "sonrel/base/Timing.h"
#include "sonrel/media/MediaInfo.h"

namespace orlo::host {

namespace {

using zrh::media::MediaInfo;
using zrh::media::MediaStreamInfo;
using zrh::media::MediaStreamKind;

constexpr double DEFAULT_FPS = 25.0;

const char* KindName(MediaStreamKind kind) {
    switch (kind) {
        case MediaStreamKind::Audio:
            return "audio";
        case MediaStreamKind::Video:
            return "video";
        case MediaStreamKind::Cover:
            return "cover";
        case MediaStreamKind::Subtitle:
            return "subtitle";
        case MediaStreamKind::Other:
            break;
    }
    return "other";
}

Json TextOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

/// The number of an audio stream among the audio streams, from 0; -1 for other streams.
using AudioIndex = int;

Json MediaStreamJson(const MediaStreamInfo& stream, int index, AudioIndex audioIndex) {
    Json json;
    json["index"] = index;
    json["kind"] = KindName(stream.kind);
    json["codec"] = stream.codec;
    if (audioIndex >= 0) json["stream"] = audioIndex;
    json["language"] = TextOrNull(stream.language);
    json["title"] = TextOrNull(stream.title);
    json["timecode"] = TextOrNull(stream.timecode);
    if (stream.kind == MediaStreamKind::Audio) {
        json["rate"] = stream.sampleRate;
        json["channels"] = stream.channels;
        json["layout"] = TextOrNull(stream.layout);
        json["bits"] = stream.bitsPerSample;
        json["format"] =
            stream.dataType == zrh::media::ZRSampleDataType::Float ? "float" : "integer";
        json["samples"] = stream.sampleCount;
        json["seconds"] = StreamSeconds(stream);
        if (stream.error != 0) json["error"] = stream.reason;
    } else if (stream.kind == MediaStreamKind::Video) {
        json["fps"] = stream.frameRate;
        json["frames"] = stream.frameCount;
        json["seconds"] = StreamSeconds(stream);
        json["variableFrameRate"] = stream.hasVariableFrameRate;
    }
    if (stream.width > 0) {
        json["width"] = stream.width;
        json["height"] = stream.height;
    }
    return json;
}

std::string StreamText(const MediaStreamInfo& stream, AudioIndex audioIndex) {
    std::string text = std::string("    ") + KindName(stream.kind);
    if (audioIndex >= 0) text += " " + std::to_string(audioIndex + 1);
    text += ", " + OneLine(stream.codec);
    if (!stream.language.empty()) text += ", " + OneLine(stream.language);
    if (!stream.title.empty()) text += ", " + Quoted(stream.title);
    if (stream.kind == MediaStreamKind::Audio) {
        text += ", " + std::to_string(stream.sampleRate) + " Hz, " +
                std::to_string(stream.channels) +
                (stream.channels == 1 ? " channel" : " channels") +
                (stream.layout.empty() ? "" : " (" + OneLine(stream.layout) + ")") + ", " +
                std::to_string(stream.bitsPerSample) + " bit " +
                (stream.dataType == zrh::media::ZRSampleDataType::Float ? "float" : "integer") +
                ", " + std::to_string(stream.sampleCount) + " samples (" +
                FormatDuration(StreamSeconds(stream)) + ")";
        if (stream.error != 0) text += ", " + stream.reason;
    } else if (stream.kind == MediaStreamKind::Video) {
        text += ", " + std::to_string(stream.width) + "x" + std::to_string(stream.height) + ", " +
                FormatNumber(stream.frameRate, 3) + " frames a second" +
                (stream.hasVariableFrameRate ? " on average, variable, " : ", ") +
                std::to_string(stream.frameCount) + " frames";
    }
    if (!stream.timecode.empty()) text += ", timecode " + OneLine(stream.timecode);
    return text + "\n";
}

/// Describes media files, as JSON and as text.
class MediaReport {
public:
    explicit MediaReport(MediaCatalog& catalog) : catalog_(catalog) {}

    /// @param used    the sounds that are used of the file
    /// @param remedy  added to a note about the others
    /// @return the fault of the file as a clause; empty when it has none
    std::string Add(const std::string& path, const std::vector<zrh::media::SoundChoice>& used,
                    const std::string& remedy) {
        const auto& [info, problem] = catalog_.Describe(path);
        Json entry;
        entry["path"] = path;
        entry["streams"] = Json::Array();
        text_ += "  " + OneLine(path) + "\n";
        entry["format"] = info.format;
        if (!info.timecode.empty()) entry["timecode"] = info.timecode;
        if (!info.timeReference.empty()) entry["timeReference"] = info.timeReference;
        AddTimecodeText(info);
        int index = 0;
        int audioStreams = 0;
        for (const MediaStreamInfo& stream : info.streams) {
            const bool isAudio = stream.kind == MediaStreamKind::Audio;
            const AudioIndex audioIndex = isAudio ? audioStreams++ : -1;
            entry["streams"].Append(MediaStreamJson(stream, index++, audioIndex));
            text_ += StreamText(stream, audioIndex);
        }
        const std::string unused = UnusedSound(info, used);
        if (!unused.empty()) {
            entry["note"] = unused + remedy;
            text_ += "    note: " + unused + remedy + "\n";
        }
        if (!problem.empty()) {
            entry["error"] = problem;
            text_ += "    " + problem + "\n";
        }
        json_.Append(entry);
        return problem;
    }

    const Json& List() const { return json_; }
    const std::string& Text() const { return text_; }

private:
    void AddTimecodeText(const MediaInfo& info) {
        if (!info.timecode.empty()) text_ += "    timecode " + OneLine(info.timecode) + "\n";
        if (info.timeReference.empty()) return;
        text_ += "    time reference " + OneLine(info.timeReference) + " samples\n";
    }

    MediaCatalog& catalog_;
    Json json_ = Json::Array();
    std::string text_;
};

std::string RatesText(const FrameGrid& grid, double frames) {
    const std::string factor =
        grid.factor == 1 ? "" : " on a grid of " + std::to_string(grid.factor);
    return std::to_string(grid.rate) + " Hz, " + FormatNumber(grid.fps, 6) + " frames a second" +
           factor + ", " + FormatNumber(frames, 3) + " frames (" +
           FormatDuration(frames / grid.fps) + ")\n";
}

/// The sound that a clip uses.
MediaSound SoundOf(const MediaInfo& info, const zrh::media::SoundChoice& sound) {
    const SoundFit fit = FitOf(info, sound);
    if (!fit.silence.empty()) return {0.0, fit};
    zrh::media::SoundChoice resolved;
    const bool isResolved = zrh::media::ResolveSound(info, sound, &resolved) == 0;
    const MediaStreamInfo* stream =
        FindStream(info, MediaStreamKind::Audio, isResolved ? resolved.Stream() : 0);
    if (stream == nullptr) return {0.0, fit};
    if (stream->error == 0) return {StreamSeconds(*stream), fit};
    return {0.0, {"its sound cannot be read: " + stream->reason, {}}};
}

/// The media files of a timeline.
struct DescribedMedia {
    explicit DescribedMedia(MediaCatalog& catalog) : report(catalog) {}

    MediaReport report;
    MediaSounds sounds;
    std::string problem;  ///< the first fault; empty when there is none
};

/// Describes each file of a timeline once.
DescribedMedia DescribeAll(const std::vector<MediaUse>& media, const std::vector<MediaUse>& missing,
                           MediaCatalog& catalog) {
    DescribedMedia described(catalog);
    std::set<std::string> missingPaths;
    for (const MediaUse& use : missing) missingPaths.insert(use.location.path);
    std::map<std::string, std::vector<zrh::media::SoundChoice>> used;
    for (const MediaUse& use : media) used[use.location.path].push_back(use.sound);
    std::set<std::string> known;
    for (const MediaUse& use : media) {
        const std::string& path = use.location.path;
        if (missingPaths.contains(path)) {
            described.sounds[{path, use.sound}] = {0.0, {MISSING_MEDIA_REASON, {}}};
            continue;
        }
        if (known.insert(path).second) {
            const std::string problem = described.report.Add(
                path, used[path], "; metadata.sonrel.stream and .channels of a clip choose others");
            if (described.problem.empty()) described.problem = problem;
        }
        const MediaDescription& description = catalog.Describe(path);
        if (!description.problem.empty()) continue;
        described.sounds[{path, use.sound}] = SoundOf(description.info, use.sound);
    }
    return described;
}

Outcome TimelineInfo(const GlobalOptions& global, const InfoOptions& options) {
    const std::string& input = options.input;
    MediaCatalog catalog;
    ReadingChoice choice;
    choice.catalog = &catalog;
    otio::TimelineImport import = ReadTimeline(input, global, choice);
    const otio::Arrangement& arrangement = import.arrangement;
    const FrameGrid grid = GridOf(arrangement);
    const std::vector<MediaUse> media = CollectMedia(arrangement.tracks);
    const std::vector<MediaUse> missing = MissingMedia(media);
    const DescribedMedia described = DescribeAll(media, missing, catalog);
    CompareWithMedia(arrangement.tracks, arrangement.frameCount, grid, described.sounds,
                     import.report);

    Outcome outcome;
    outcome.report["input"] = input;
    outcome.report["kind"] = "timeline";
    outcome.report["name"] = import.name;
    outcome.report["rate"] = arrangement.rate;
    outcome.report["fps"] = arrangement.fps;
    outcome.report["grid"] = arrangement.grid;
    outcome.report["frames"] = FramesJson(arrangement.frameCount, grid);
    outcome.report["startTimecode"] = FormatTimecode(0, grid);
    outcome.report["tracks"] = TracksJson(arrangement.tracks, grid);
    outcome.report["media"] = described.report.List();
    outcome.report["missing"] = MissingJson(missing);
    outcome.report["notTakenOver"] = NotTakenOverJson(import.report);

    outcome.text = "timeline " + Quoted(import.name) + ": " +
                   RatesText(grid, TimelineFrames(arrangement.frameCount, grid)) + "starts at " +
                   FormatTimecode(0, grid) + "\n" + TracksText(arrangement.tracks, grid);
    if (!media.empty()) outcome.text += "media\n" + described.report.Text();
    for (const MediaUse& use : missing) {
        outcome.text += "  " + OneLine(use.location.path) + "\n    missing\n";
    }
    outcome.text += NotTakenOverText(import.report);
    if (!missing.empty() && !global.allowMissing) {
        outcome.Fail(ExitCode::ConditionFailed, MissingMediaClause(input, missing));
    } else if (!described.problem.empty()) {
        outcome.Fail(ExitCode::JobFailed, described.problem);
    } else if (options.strict) {
        FailOnEntries(input, import.report, {}, outcome);
    }
    return outcome;
}

Outcome MediaFileInfo(const GlobalOptions& global, const std::string& input) {
    const std::string path = AbsolutePath(input);
    MediaCatalog catalog;
    MediaReport described(catalog);
    const std::string problem =
        described.Add(path, {zrh::media::SoundChoice()}, "; choose with --stream and --channels");
    if (!problem.empty()) throw JobError(problem);
    const MediaInfo& info = catalog.Describe(path).info;
    const MediaStreamInfo* picture = FindStream(info, MediaStreamKind::Video, 0);
    const MediaStreamInfo* sound = FindStream(info, MediaStreamKind::Audio, 0);
    const int rate = RateFor(global);
    double fps = global.fps.value_or(DEFAULT_FPS);
    long long frames = 0;
    if (picture != nullptr && picture->frameRate > 0.0) {
        fps = picture->frameRate;
        frames = picture->frameCount;
    } else if (sound != nullptr) {
        frames = zrtl::TruncToInt64(zrtl::RoundHalfAway(StreamSeconds(*sound) * fps));
    }

    Outcome outcome;
    outcome.report["input"] = input;
    outcome.report["kind"] = "media";
    outcome.report["rate"] = rate;
    outcome.report["fps"] = fps;
    outcome.report["grid"] = 1;
    outcome.report["frames"] = frames;
    outcome.report["tracks"] = Json::Array();
    outcome.report["media"] = described.List();
    outcome.report["missing"] = Json::Array();
    outcome.report["notTakenOver"] = Json::Array();
    outcome.text =
        "media file, as a project: " + RatesText({rate, fps}, static_cast<double>(frames)) +
        described.Text();
    return outcome;
}

}  // namespace

Outcome RunInfo(const GlobalOptions& global, const InfoOptions& options) {
    if (otio::IsTimelinePath(options.input)) return TimelineInfo(global, options);
    return MediaFileInfo(global, options.input);
}

}  // namespace orlo::host
