// SPDX-License-Identifier: MIT
#include "host/media/MixPreparation.h"

#include "host/media/Conforming.h"
#include "host/process/Cores.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

std::vector<std::string> TrackNames(const otio::Arrangement& arrangement) {
    std::vector<std::string> names;
    for (const otio::PlacedTrack& track : arrangement.tracks) names.push_back(track.name);
    return names;
}

void ConformAll(const EngineSession& session, const std::vector<MediaUse>& media, int rate,
                Progress& progress) {
    std::vector<ConformTask> tasks;
    for (const MediaUse& use : media) {
        if (!use.asset->HasAudio()) continue;
        ConformTask task;
        task.asset = use.asset;
        task.rate = rate;
        tasks.push_back(task);
    }
    if (tasks.empty()) return;
    if (session.Paths().folder.empty()) {
        throw JobError("the conformed files of the media files, the first of which is " +
                       Quoted(media.front().location.path) +
                       ", have no folder with --no-cache-db; set --cache and --db");
    }
    ConformSettings settings;
    settings.jobs = AvailableCores();
    settings.allCodecs = true;
    Conform(session, tasks, settings, progress);
    for (const ConformTask& task : tasks) {
        if (task.result.status == FileStatus::Failed) throw JobError(task.result.error);
    }
}

}  // namespace orlo::host
