// SPDX-License-Identifier: MIT
#include "host/timeline/TimelineSummary.h"

#include <algorithm>
#include <map>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

using otio::PlacedTrack;

/// Kinds of entries that a summary names; the list above the summary contains all.
constexpr std::size_t MAX_NAMED_KINDS = 4;

std::string AreMuted(int count) {
    return std::to_string(count) + (count == 1 ? " is muted" : " are muted");
}

void AddClips(const ClipTally& clips, Summary& summary) {
    if (clips.Clips() == 0) {
        summary.AddAttention("the timeline has no clip with sound",
                             "check its tracks; '--audio-from video' uses the sound of picture "
                             "tracks");
        return;
    }
    const int wanted = clips.Clips() - clips.muted;
    std::string text = clips.whole == wanted
                           ? Counted(wanted, "clip")
                           : std::to_string(clips.whole) + " of " + Counted(wanted, "clip");
    text += clips.whole == 1 || wanted == 1 ? " has its whole sound" : " have their whole sound";
    if (clips.muted > 0) text += "; " + AreMuted(clips.muted);
    summary.AddRight(text);
}

/// Tracks that do not sound because of mutes and solos.
void AddSilentTracks(const std::vector<PlacedTrack>& tracks, Summary& summary) {
    const bool hasSolo = std::any_of(tracks.begin(), tracks.end(),
                                     [](const PlacedTrack& track) { return track.solo; });
    const auto silent = std::count_if(tracks.begin(), tracks.end(), [&](const PlacedTrack& track) {
        return track.muted || (hasSolo && !track.solo);
    });
    if (silent == 0) return;
    summary.AddRight(std::to_string(silent) + " of " +
                     Counted(static_cast<long long>(tracks.size()), "track") +
                     (silent == 1 ? " is silent: muted, or" : " are silent: muted, or") +
                     " other tracks are solo");
}

std::string AreSilent(int clips) {
    return Counted(clips, "clip") + (clips == 1 ? " is silent" : " are silent");
}

void AddFaultyClips(const ClipTally& clips, Summary& summary) {
    if (clips.missing > 0) {
        const auto files = static_cast<long long>(clips.missingFiles.size());
        summary.AddAttention(Counted(files, "media file") +
                                 (files == 1 ? " is missing: " : " are missing: ") +
                                 AreSilent(clips.missing),
                             "--media-root OLD=NEW finds missing files, --allow-missing mixes "
                             "without them");
    }
    const int unread = clips.unread + clips.unreadPictures;
    if (unread > 0) {
        summary.AddAttention("the media of " + Counted(unread, "clip") + " cannot be read",
                             "replace the media files that have an error in the list");
    }
    if (clips.soundless > 0) {
        summary.AddAttention(
            AreSilent(clips.soundless) +
                (clips.soundless == 1 ? ": its media file does not have the sound that it uses"
                                      : ": their media files do not have the sound that they use"),
            "choose a stream or a channel that exists; 'sonrel info' lists them");
    }
    if (clips.beyond > 0) {
        summary.AddAttention(Counted(clips.beyond, "clip") +
                                 (clips.beyond == 1 ? " asks for more than its media file has"
                                                    : " ask for more than their media files have") +
                                 ": silent for up to " + FormatNumber(clips.longestSilence, 3) +
                                 " s",
                             "shorten the clips, or link the right media files; the timecodes are "
                             "in the list");
    }
}

/// The kinds of entries that matter to the sound with their counts, the most frequent first.
std::vector<std::pair<std::string, int>> KindsOf(const otio::ImportReport& report,
                                                 const ClipTally& clips) {
    std::map<std::string, int> counts;
    for (const auto& entry : report.Entries()) {
        if (entry.severity != otio::Severity::Note) counts[entry.what] += entry.count;
    }
    counts["clip"] -= clips.missing + clips.soundless + clips.beyond + clips.unreadPictures;
    std::vector<std::pair<std::string, int>> kinds;
    for (const auto& [kind, count] : counts) {
        if (count > 0) kinds.emplace_back(kind, count);
    }
    std::stable_sort(kinds.begin(), kinds.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    return kinds;
}

void AddOtherEntries(const otio::ImportReport& report, const ClipTally& clips, Summary& summary) {
    const std::vector<std::pair<std::string, int>> kinds = KindsOf(report, clips);
    if (kinds.empty()) return;
    int total = 0;
    std::string names;
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        const auto& [kind, count] = kinds[i];
        total += count;
        if (i >= MAX_NAMED_KINDS) continue;
        names += (i == 0 ? "" : ", ") + kind + " (" + std::to_string(count) + ")";
    }
    if (kinds.size() > MAX_NAMED_KINDS) names += " and others";
    summary.AddAttention(Counted(total, "part") + (total == 1 ? " is" : " are") +
                             " not imported, changed or guessed: " + names,
                         "compare with the edit; the places and reasons are in the list");
}

}  // namespace

void SummarizeTimeline(const std::vector<PlacedTrack>& tracks, const ClipTally& clips,
                       const otio::ImportReport& report, Summary& summary) {
    AddClips(clips, summary);
    AddSilentTracks(tracks, summary);
    AddFaultyClips(clips, summary);
    AddOtherEntries(report, clips, summary);
}

}  // namespace orlo::host
