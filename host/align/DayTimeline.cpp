// SPDX-License-Identifier: MIT
#include "host/align/DayTimeline.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "host/align/AlignmentReport.h"
#include "host/align/TimelineItems.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

/// A recording on the timeline, in sample frames or video frames.
struct Placed {
    const Recording* recording = nullptr;
    double start = 0.0;
    double end = 0.0;
};

std::string FolderOf(const Recording& recording) {
    return fs::path(recording.path).parent_path().string();
}

/// Puts recordings on tracks, each on the first track of its folder that is free.
class Tracks {
public:
    /// @param kind  "Audio" or "Video"
    /// @param rate  unit of the positions, values in a second
    Tracks(const char* kind, double rate) : kind_(kind), rate_(rate) {}

    /// @param clip  of the recording
    void Add(const Placed& placed, const Json& clip) {
        Track& track = FreeTrack(FolderOf(*placed.recording), placed.start);
        AppendGap(track.json, placed.start - track.end, rate_);
        track.json["children"].Append(clip);
        track.end = placed.end;
    }

    /// Appends the tracks to an array.
    void MoveTo(Json& list) {
        for (Track& track : tracks_) list.Append(std::move(track.json));
    }

private:
    struct Track {
        std::string folder;
        Json json;
        double end = 0.0;
    };

    Track& FreeTrack(const std::string& folder, double start) {
        const auto track = std::find_if(tracks_.begin(), tracks_.end(), [&](const Track& other) {
            return other.folder == folder && other.end <= start;
        });
        if (track != tracks_.end()) return *track;
        tracks_.push_back({folder, EmptyTrack(fs::path(folder).filename().string(), kind_), 0.0});
        return tracks_.back();
    }

    const char* const kind_;
    const double rate_;
    std::vector<Track> tracks_;
};

/// In the order of their folders' first recordings, then of their starts.
std::vector<SyncedRecording> InTrackOrder(std::vector<SyncedRecording> recordings) {
    std::vector<std::string> folders;
    folders.reserve(recordings.size());
    for (const SyncedRecording& synced : recordings) folders.push_back(FolderOf(*synced.recording));
    const auto rank = [&](const SyncedRecording& synced) {
        return std::find(folders.begin(), folders.end(), FolderOf(*synced.recording));
    };
    std::stable_sort(recordings.begin(), recordings.end(),
                     [&](const SyncedRecording& a, const SyncedRecording& b) {
                         const auto rankOfA = rank(a);
                         const auto rankOfB = rank(b);
                         return rankOfA != rankOfB ? rankOfA < rankOfB : a.start < b.start;
                     });
    return recordings;
}

/// @param start  sample frame on the timeline
Placed PlacedSound(const Recording& recording, double start) {
    return {&recording, start, start + static_cast<double>(recording.Frames())};
}

Placed PlacedPicture(const Recording& recording, double start, int rate, double fps) {
    const project::MediaVideoStream& picture = *recording.asset->VideoStream();
    const double frame = std::round(start * fps / rate);
    return {&recording, frame, frame + picture.FrameCount() * fps / picture.FrameRate()};
}

}  // namespace

std::string DayTimeline(const std::vector<SyncedRecording>& recordings, int rate, double fps) {
    long long earliest = 0;
    for (const SyncedRecording& synced : recordings) earliest = std::min(earliest, synced.start);
    Tracks pictures("Video", fps);
    Tracks sounds("Audio", rate);
    for (const SyncedRecording& synced : InTrackOrder(recordings)) {
        const Recording& recording = *synced.recording;
        const auto start = static_cast<double>(synced.start - earliest);
        if (recording.HasPicture()) {
            pictures.Add(PlacedPicture(recording, start, rate, fps), PictureClip(recording));
        }
        sounds.Add(PlacedSound(recording, start), SoundClip(recording, rate));
    }
    Json tracks = Json::Array();
    pictures.MoveTo(tracks);
    sounds.MoveTo(tracks);
    return TimelineDocument("synced recordings", tracks, rate, fps);
}

}  // namespace orlo::host
