// SPDX-License-Identifier: MIT
#include "host/info/InfoCommand.h"

#include <map>
#include <set>

#include "host/info/TimelineTree.h"
#include "host/info/UnusedSound.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "sonrel/base/Timing.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/MediaErrors.h"

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

double Seconds(const MediaStreamInfo& stream) {
    if (stream.kind == MediaStreamKind::Audio && stream.sampleRate > 0) {
        return static_cast<double>(stream.sampleCount) / stream.sampleRate;
    }
    return stream.frameRate > 0.0 ? static_cast<double>(stream.frameCount) / stream.frameRate : 0.0;
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
    if (stream.kind == MediaStreamKind::Audio) {
        json["rate"] = stream.sampleRate;
        json["channels"] = stream.channels;
        json["layout"] = TextOrNull(stream.layout);
        json["bits"] = stream.bitsPerSample;
        json["format"] =
            stream.dataType == zrh::media::ZRSampleDataType::Float ? "float" : "integer";
        json["samples"] = stream.sampleCount;
        json["seconds"] = Seconds(stream);
        if (stream.error != 0) json["error"] = stream.reason;
    } else if (stream.kind == MediaStreamKind::Video) {
        json["fps"] = stream.frameRate;
        json["frames"] = stream.frameCount;
        json["seconds"] = Seconds(stream);
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
                FormatDuration(Seconds(stream)) + ")";
        if (stream.error != 0) text += ", " + stream.reason;
    } else if (stream.kind == MediaStreamKind::Video) {
        text += ", " + std::to_string(stream.width) + "x" + std::to_string(stream.height) + ", " +
                FormatNumber(stream.frameRate, 3) + " frames a second" +
                (stream.hasVariableFrameRate ? " on average, variable, " : ", ") +
                std::to_string(stream.frameCount) + " frames";
    }
    return text + "\n";
}

/// Describes media files, as JSON and as text.
class MediaReport {
public:
    /// @param used    the sounds that are used of the file
    /// @param remedy  added to a note about the others
    /// @return the fault of the file as a clause; empty when it has none
    std::string Add(const std::string& path, const std::vector<zrh::media::SoundChoice>& used,
                    const std::string& remedy) {
        MediaInfo info;
        Json entry;
        entry["path"] = path;
        entry["streams"] = Json::Array();
        text_ += "  " + OneLine(path) + "\n";
        std::string problem;
        try {
            RequireMediaFile(path);
            std::string reason;
            const int code = zrh::media::DescribeMedia(WidePath(path), &info, &reason);
            if (Interrupted()) ThrowInterrupted("not all media are described");
            if (code != 0 && reason == zrh::media::MediaErrorText(code)) RefuseMedia(path, code);
            if (code != 0) problem = "cannot read " + Quoted(path) + ": " + reason;
        } catch (const JobError& error) {
            problem = error.what();
        }
        entry["format"] = info.format;
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
        last_ = std::move(info);
        return problem;
    }

    const Json& List() const { return json_; }
    const std::string& Text() const { return text_; }
    /// The description of the last added file.
    const MediaInfo& Last() const { return last_; }

private:
    Json json_ = Json::Array();
    std::string text_;
    MediaInfo last_;
};

std::string RatesText(const FrameGrid& grid, double frames) {
    const std::string factor =
        grid.factor == 1 ? "" : " on a grid of " + std::to_string(grid.factor);
    return std::to_string(grid.rate) + " Hz, " + FormatNumber(grid.fps, 6) + " frames a second" +
           factor + ", " + FormatNumber(frames, 3) + " frames (" +
           FormatDuration(frames / grid.fps) + ")\n";
}

/// Describes each file of a timeline once. @return the first fault; empty when there is none
std::string DescribeAll(const std::vector<MediaUse>& media, const std::vector<MediaUse>& missing,
                        MediaReport& report) {
    std::set<std::string> done;
    for (const MediaUse& use : missing) done.insert(use.location.path);
    std::map<std::string, std::vector<zrh::media::SoundChoice>> sounds;
    for (const MediaUse& use : media) sounds[use.location.path].push_back(use.sound);
    std::string problem;
    for (const MediaUse& use : media) {
        if (!done.insert(use.location.path).second) continue;
        const std::string found =
            report.Add(use.location.path, sounds[use.location.path],
                       "; metadata.sonrel.stream and .channels of a clip choose others");
        if (problem.empty()) problem = found;
    }
    return problem;
}

Outcome TimelineInfo(const GlobalOptions& global, const std::string& input) {
    const otio::TimelineImport import = ReadTimeline(input, global);
    const otio::Arrangement& arrangement = import.arrangement;
    const FrameGrid grid = GridOf(arrangement);
    const std::vector<MediaUse> media = CollectMedia(arrangement.tracks);
    const std::vector<MediaUse> missing = MissingMedia(media);
    MediaReport described;
    const std::string problem = DescribeAll(media, missing, described);

    Outcome outcome;
    outcome.report["input"] = input;
    outcome.report["kind"] = "timeline";
    outcome.report["name"] = import.name;
    outcome.report["rate"] = arrangement.rate;
    outcome.report["fps"] = arrangement.fps;
    outcome.report["grid"] = arrangement.grid;
    outcome.report["frames"] = FramesJson(arrangement.frameCount, grid);
    outcome.report["tracks"] = TracksJson(arrangement.tracks, grid);
    outcome.report["media"] = described.List();
    outcome.report["missing"] = MissingJson(missing);
    outcome.report["notTakenOver"] = NotTakenOverJson(import.report);

    outcome.text = "timeline " + Quoted(import.name) + ": " +
                   RatesText(grid, TimelineFrames(arrangement.frameCount, grid)) +
                   TracksText(arrangement.tracks, grid);
    if (!media.empty()) outcome.text += "media\n" + described.Text();
    for (const MediaUse& use : missing) {
        outcome.text += "  " + OneLine(use.location.path) + "\n    missing\n";
    }
    outcome.text += NotTakenOverText(import.report);
    if (!missing.empty() && !global.allowMissing) {
        outcome.Fail(ExitCode::ConditionFailed, MissingMediaClause(input, missing));
    } else if (!problem.empty()) {
        outcome.Fail(ExitCode::JobFailed, problem);
    }
    return outcome;
}

Outcome MediaFileInfo(const GlobalOptions& global, const std::string& input) {
    const std::string path = AbsolutePath(input);
    MediaReport described;
    const std::string problem =
        described.Add(path, {zrh::media::SoundChoice()}, "; choose with --stream and --channels");
    if (!problem.empty()) throw JobError(problem);
    const MediaStreamInfo* picture = FindStream(described.Last(), MediaStreamKind::Video, 0);
    const MediaStreamInfo* sound = FindStream(described.Last(), MediaStreamKind::Audio, 0);
    const int rate = RateFor(global);
    double fps = global.fps.value_or(DEFAULT_FPS);
    long long frames = 0;
    if (picture != nullptr && picture->frameRate > 0.0) {
        fps = picture->frameRate;
        frames = picture->frameCount;
    } else if (sound != nullptr) {
        frames = zrtl::TruncToInt64(zrtl::RoundHalfAway(Seconds(*sound) * fps));
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
    if (otio::IsTimelinePath(options.input)) return TimelineInfo(global, options.input);
    return MediaFileInfo(global, options.input);
}

}  // namespace orlo::host
