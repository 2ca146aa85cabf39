// SPDX-License-Identifier: MIT
#include "host/info/MediaReport.h"

#include "host/shell/Summary.h"
#include "host/shell/Terminal.h"
#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"
#include "host/timeline/UnusedSound.h"

namespace orlo::host {

namespace {

using zrh::media::MediaInfo;
using zrh::media::MediaStreamInfo;
using zrh::media::MediaStreamKind;

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

/// "stream 2: audio 1", or "stream 3: timecode".
std::string StreamName(const MediaStreamInfo& stream, int index, AudioIndex audioIndex) {
    std::string name = "stream " + std::to_string(index + 1) + ": ";
    if (stream.kind == MediaStreamKind::Other && stream.timecodeRate > 0.0)
        return name + "timecode";
    name += KindName(stream.kind);
    return audioIndex < 0 ? name : name + " " + std::to_string(audioIndex + 1);
}

std::string SoundFormatText(const MediaStreamInfo& stream) {
    const bool isFloat = stream.dataType == zrh::media::ZRSampleDataType::Float;
    return ", " + std::to_string(stream.sampleRate) + " Hz, " +
           Counted(stream.channels, "channel") +
           (stream.layout.empty() ? "" : " (" + OneLine(stream.layout) + ")") + ", " +
           std::to_string(stream.bitsPerSample) + " bit " + (isFloat ? "float" : "integer") + ", " +
           std::to_string(stream.sampleCount) + " samples";
}

std::string PictureText(const MediaStreamInfo& stream) {
    return ", " + std::to_string(stream.width) + "x" + std::to_string(stream.height) + ", " +
           FormatNumber(stream.frameRate, 3) + " frames a second" +
           (stream.hasVariableFrameRate ? " on average, variable" : "") + ", " +
           std::to_string(stream.frameCount) + " frames";
}

/// Sound and picture without their own timecode have the timecode of the file.
std::string TimecodeText(const MediaInfo& info, const MediaStreamInfo& stream) {
    const bool isPlayed =
        stream.kind == MediaStreamKind::Audio || stream.kind == MediaStreamKind::Video;
    const std::string& timecode =
        stream.timecode.empty() && isPlayed ? info.timecode : stream.timecode;
    return timecode.empty() ? std::string() : ", timecode " + OneLine(timecode);
}

std::string StreamText(const MediaInfo& info, int index, AudioIndex audioIndex) {
    const MediaStreamInfo& stream = info.streams[static_cast<std::size_t>(index)];
    std::string text = StreamName(stream, index, audioIndex);
    if (stream.codec != "none") text += ", " + OneLine(stream.codec);
    if (!stream.language.empty()) text += ", " + OneLine(stream.language);
    if (!stream.title.empty()) text += ", " + Quoted(stream.title);
    if (stream.kind == MediaStreamKind::Audio) text += SoundFormatText(stream);
    if (stream.kind == MediaStreamKind::Video) text += PictureText(stream);
    const double seconds = StreamSeconds(stream);
    if (seconds > 0.0) text += " (" + FormatDuration(seconds) + ")";
    if (stream.error != 0) text += ", " + stream.reason;
    return text + TimecodeText(info, stream);
}

/// Lines that fit into the report, below the name of a file.
std::string Indented(const std::string& text) {
    return IndentedLines(text, 4, 8, ReportColumns());
}

std::string TimeReferenceText(const MediaInfo& info) {
    return info.timeReference.empty()
               ? std::string()
               : Indented("time reference " + OneLine(info.timeReference) + " samples");
}

}  // namespace

std::string MediaReport::Add(const std::string& path,
                             const std::vector<zrh::media::SoundChoice>& used,
                             const std::string& remedy) {
    const auto& [info, problem] = catalog_.Describe(path);
    Json entry;
    entry["path"] = path;
    entry["streams"] = Json::Array();
    entry["format"] = info.format;
    if (!info.timecode.empty()) entry["timecode"] = info.timecode;
    if (!info.timeReference.empty()) entry["timeReference"] = info.timeReference;
    text_ += "  " + OneLine(path) + "\n" + TimeReferenceText(info);
    int index = 0;
    int audioStreams = 0;
    for (const MediaStreamInfo& stream : info.streams) {
        const bool isAudio = stream.kind == MediaStreamKind::Audio;
        const AudioIndex audioIndex = isAudio ? audioStreams++ : -1;
        entry["streams"].Append(MediaStreamJson(stream, index, audioIndex));
        text_ += Indented(StreamText(info, index++, audioIndex));
    }
    const std::string unused = UnusedSound(info, used);
    if (!unused.empty()) {
        ++partlyUsedFiles_;
        entry["note"] = unused + remedy;
        text_ += Indented("note: " + unused + remedy);
    }
    if (!problem.empty()) {
        entry["error"] = problem;
        text_ += "    " + problem + "\n";
    }
    json_.Append(entry);
    return problem;
}

}  // namespace orlo::host
