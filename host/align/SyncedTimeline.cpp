// SPDX-License-Identifier: MIT
#include <algorithm>
#include <filesystem>

#include "host/align/AlignmentReport.h"
#include "host/shell/SoundText.h"

namespace orlo::host {

namespace {

Json Time(long long value, int rate) {
    return Json::Object({{"OTIO_SCHEMA", "RationalTime.1"}, {"rate", rate}, {"value", value}});
}

Json Range(long long start, long long duration, int rate) {
    return Json::Object({{"OTIO_SCHEMA", "TimeRange.1"},
                         {"start_time", Time(start, rate)},
                         {"duration", Time(duration, rate)}});
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

Json Clip(const Recording& recording, int rate) {
    const std::string name = std::filesystem::path(recording.path).stem().string();
    Json clip = Item("Clip.1", name);
    AddSound(recording, clip["metadata"]);
    clip["source_range"] = Range(0, recording.Frames(), rate);
    clip["media_reference"] = Json::Object({{"OTIO_SCHEMA", "ExternalReference.1"},
                                            {"name", ""},
                                            {"metadata", Json::Object()},
                                            {"available_range", Range(0, recording.Frames(), rate)},
                                            {"target_url", FileUrl(recording.path)}});
    return clip;
}

Json Track(const SyncedRecording& synced, long long gap, int rate) {
    Json track = Item("Track.1", std::filesystem::path(synced.recording->path).filename().string());
    track["kind"] = "Audio";
    track["source_range"] = Json();
    track["children"] = Json::Array();
    if (gap > 0) {
        Json silence = Item("Gap.1", "");
        silence["source_range"] = Range(0, gap, rate);
        track["children"].Append(silence);
    }
    track["children"].Append(Clip(*synced.recording, rate));
    return track;
}

}  // namespace

std::string SyncedTimeline(const std::vector<SyncedRecording>& recordings, int rate, double fps) {
    long long earliest = 0;
    for (const SyncedRecording& synced : recordings) earliest = std::min(earliest, synced.start);
    Json stack = Item("Stack.1", "tracks");
    stack["source_range"] = Json();
    stack["children"] = Json::Array();
    for (const SyncedRecording& synced : recordings) {
        stack["children"].Append(Track(synced, synced.start - earliest, rate));
    }
    const Json timeline = Json::Object(
        {{"OTIO_SCHEMA", "Timeline.1"},
         {"name", "aligned recordings"},
         {"global_start_time", Json()},
         {"metadata",
          Json::Object({{"sonrel", Json::Object({{"frameRate", fps}, {"sampleRate", rate}})}})},
         {"tracks", stack}});
    return timeline.ToIndentedText() + "\n";
}

}  // namespace orlo::host
