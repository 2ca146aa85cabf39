// SPDX-License-Identifier: MIT
#include "host/timeline/Ducking.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "host/shell/Text.h"
#include "sonrel/plugins/pack/Ducking.h"

namespace orlo::host {

namespace {

using otio::PlacedTrack;

bool IsNamed(const PlacedTrack& track, const std::string& name) {
    return track.name == name;
}

/// Why a ducking cannot be used, as a clause; empty when it can.
std::string DuckingProblem(const std::vector<PlacedTrack>& tracks, const PlacedTrack& track,
                           int rate) {
    const std::string& by = track.duck->by;
    const auto count = std::count_if(tracks.begin(), tracks.end(),
                                     [&](const PlacedTrack& each) { return IsNamed(each, by); });
    if (count == 0) return "there is no track " + Quoted(by);
    if (count > 1) return std::to_string(count) + " tracks have the name " + Quoted(by);
    if (IsNamed(track, by)) return "a track cannot lower itself";
    try {
        sonrel::PluginPack::DuckingCurve({}, track.duck->parameters, rate);
    } catch (const std::invalid_argument& refusal) {
        return OneLine(refusal.what());
    }
    return {};
}

}  // namespace

void DropRefusedDucking(otio::TimelineImport& import) {
    std::vector<PlacedTrack>& tracks = import.arrangement.tracks;
    for (PlacedTrack& track : tracks) {
        if (!track.duck) continue;
        const std::string problem = DuckingProblem(tracks, track, import.arrangement.rate);
        if (problem.empty()) continue;
        import.report.Add("duck", track.duck->place, problem + "; it is skipped");
        track.duck.reset();
    }
}

std::size_t KeyTrackOf(const std::vector<PlacedTrack>& tracks, const PlacedTrack& track) {
    const auto key = std::find_if(tracks.begin(), tracks.end(), [&](const PlacedTrack& each) {
        return IsNamed(each, track.duck->by);
    });
    return static_cast<std::size_t>(key - tracks.begin());
}

}  // namespace orlo::host
