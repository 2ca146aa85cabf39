// SPDX-License-Identifier: MIT
#include "host/align/TimelineItems.h"

#include <filesystem>

#include "host/shell/SoundText.h"

namespace orlo::host {

namespace {

Json Time(Json value, double rate) {
    return Json::Object(
        {{"OTIO_SCHEMA", "RationalTime.1"}, {"rate", NumberJson(rate)}, {"value", value}});
}

/// A local file as a URL. Every byte that is not allowed in a path of a URL is escaped.
std::string FileUrl(const std::string& path) {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char letter : path) {
        const auto byte = static_cast<unsigned char>(letter);
        const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= '0' && byte <= '9') ||
                           std::string("/-._~").find(letter) != std::string::npos;
        if (plain) {
            url += letter;
        } else {
            url += {'%', DIGITS[byte >> 4], DIGITS[byte & 15U]};
        }
    }
    return url;
}

Json Item(const char* schema, const std::string& name) {
    return Json::Object({{"OTIO_SCHEMA", schema},
                         {"name", name},
                         {"metadata", Json::Object()},
                         {"effects", Json::Array()},
                         {"markers", Json::Array()},
                         {"enabled", true}});
}

/// Adds the stream and the channels that were compared, where they are not the first stream.
void AddSound(const Recording& recording, Json& metadata) {
    const auto sound = zrh::media::SoundChoice::FromNumber(recording.asset->AudioStreamIndex());
    const std::string channels = ChannelsText(sound);
    const bool namesStreams = channels.find(':') != std::string::npos;
    if (sound.Stream() > 0 && !namesStreams) metadata["sonrel"]["stream"] = sound.Stream() + 1;
    if (!channels.empty()) metadata["sonrel"]["channels"] = channels;
}

/// A clip of a whole media file.
Json WholeClip(const Recording& recording, const Json& range) {
    Json clip = Item("Clip.1", std::filesystem::path(recording.path).stem().string());
    clip["source_range"] = range;
    clip["media_reference"] = Json::Object({{"OTIO_SCHEMA", "ExternalReference.1"},
                                            {"name", ""},
                                            {"metadata", Json::Object()},
                                            {"available_range", range},
                                            {"target_url", FileUrl(recording.path)}});
    return clip;
}

Json Range(double duration, double rate) {
    return Json::Object({{"OTIO_SCHEMA", "TimeRange.1"},
                         {"start_time", Time(0, rate)},
                         {"duration", Time(NumberJson(duration), rate)}});
}

}  // namespace

Json NumberJson(double value) {
    const auto whole = static_cast<long long>(value);
    return static_cast<double>(whole) == value ? Json(whole) : Json(value);
}

Json SoundClip(const Recording& recording, int rate) {
    Json clip = WholeClip(recording, Range(static_cast<double>(recording.Frames()), rate));
    AddSound(recording, clip["metadata"]);
    return clip;
}

Json PictureClip(const Recording& recording) {
    const project::MediaVideoStream& picture = *recording.asset->VideoStream();
    return WholeClip(recording, Range(picture.FrameCount(), picture.FrameRate()));
}

Json EmptyTrack(const std::string& name, const char* kind) {
    Json track = Item("Track.1", name);
    track["kind"] = kind;
    track["source_range"] = Json();
    track["children"] = Json::Array();
    return track;
}

void AppendGap(Json& track, double duration, double rate) {
    if (duration <= 0.0) return;
    Json gap = Item("Gap.1", "");
    gap["source_range"] = Range(duration, rate);
    track["children"].Append(gap);
}

std::string TimelineDocument(const std::string& name, Json tracks, int rate, double fps) {
    Json stack = Item("Stack.1", "tracks");
    stack["source_range"] = Json();
    stack["children"] = std::move(tracks);
    const Json timeline = Json::Object(
        {{"OTIO_SCHEMA", "Timeline.1"},
         {"name", name},
         {"global_start_time", Json()},
         {"metadata",
          Json::Object({{"sonrel", Json::Object({{"frameRate", fps}, {"sampleRate", rate}})}})},
         {"tracks", stack}});
    return timeline.ToIndentedText() + "\n";
}

}  // namespace orlo::host
