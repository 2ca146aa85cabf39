// SPDX-License-Identifier: MIT
#include <algorithm>
#include <filesystem>

#include "host/align/AlignmentReport.h"
#include "host/align/TimelineItems.h"

namespace orlo::host {

namespace {

Json Track(const SyncedRecording& synced, long long gap, int rate) {
    const std::filesystem::path path(synced.recording->path);
    Json track = EmptyTrack(path.filename().string(), "Audio");
    AppendGap(track, static_cast<double>(gap), rate);
    track["children"].Append(SoundClip(*synced.recording, rate));
    return track;
}

}  // namespace

std::string SyncedTimeline(const std::vector<SyncedRecording>& recordings, int rate, double fps) {
    long long earliest = 0;
    for (const SyncedRecording& synced : recordings) earliest = std::min(earliest, synced.start);
    Json tracks = Json::Array();
    for (const SyncedRecording& synced : recordings) {
        tracks.Append(Track(synced, synced.start - earliest, rate));
    }
    return TimelineDocument("aligned recordings", tracks, rate, fps);
}

}  // namespace orlo::host
