// SPDX-License-Identifier: MIT
#include "host/conform/ConformCommand.h"

#include "host/media/Conforming.h"
#include "host/media/MediaEntries.h"
#include "host/media/SpooledInput.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "host/timeline/MediaComparison.h"
#include "host/timeline/Strictness.h"

namespace orlo::host {

namespace {

/// The sound of the conformed, silent and missing media files that a timeline uses.
MediaSounds SoundsOfTimeline(const CollectedTimeline& timeline,
                             const std::vector<MediaEntry>& entries,
                             const std::vector<ConformTask>& tasks) {
    std::vector<MediaUse> media = timeline.silent;
    for (const MediaEntry& entry : entries) {
        if (entry.input != timeline.input) continue;
        MediaUse use;
        use.location.path = entry.media;
        use.sound = entry.clipSound;
        use.fit = entry.fit;
        if (entry.missing) {
            use.fit.silence = MISSING_MEDIA_REASON;
        } else if (entry.task && tasks[*entry.task].result.status != FileStatus::Failed) {
            use.asset = tasks[*entry.task].asset;
        } else {
            continue;
        }
        media.push_back(std::move(use));
    }
    return SoundsOf(media);
}

/// Compares the timelines with their media files and adds their entries to the result.
void AddEntries(std::vector<CollectedTimeline>& timelines, const std::vector<MediaEntry>& media,
                const std::vector<ConformTask>& tasks, Outcome& outcome) {
    outcome.report["notTakenOver"] = Json::Array();
    for (CollectedTimeline& timeline : timelines) {
        const otio::Arrangement& arrangement = timeline.import.arrangement;
        otio::ImportReport& report = timeline.import.report;
        CompareWithMedia(arrangement.tracks, arrangement.frameCount, GridOf(arrangement),
                         SoundsOfTimeline(timeline, media, tasks), report);
        const Json entries = NotTakenOverJson(report);
        for (const Json& entry : entries.AsArray()) {
            Json withInput = Json::Object({{"input", timeline.input}});
            for (const auto& [key, value] : entry.AsObject()) withInput[key] = value;
            outcome.report["notTakenOver"].Append(std::move(withInput));
        }
        if (report.IsEmpty()) continue;
        outcome.text += "timeline " + Quoted(timeline.input) + "\n" + NotTakenOverText(report);
    }
}

}  // namespace

Outcome RunConform(const GlobalOptions& global, const ConformOptions& options) {
    if (global.noCacheDb) {
        throw UsageError("conform writes its files to the cache; leave out --no-cache-db");
    }
    CheckSound(options.sound, options.inputs);
    RequireOneCache(global, options.inputs);
    project::Project project;
    std::vector<ConformTask> tasks;
    const auto makeTask = [&](const std::string& path, const zrh::media::SoundChoice& sound,
                              int rate) {
        ConformTask task;
        task.asset = ImportMediaFile(project, path, sound);
        task.rate = rate;
        tasks.push_back(task);
        return tasks.size() - 1;
    };
    MediaCollector collector(global, nullptr, options.sound.Choice(), options.audioFrom, makeTask);
    for (const std::string& input : options.inputs) collector.Add(input);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    Conform(session, tasks, {options.jobs.Count(), options.allCodecs, options.force}, progress);
    Outcome outcome = ReportFiles(collector.entries, [&](std::size_t task) {
        return WithLastingPath(global, tasks[task].result);
    });
    NoteTemporaryFiles(global, outcome);
    AddEntries(collector.timelines, collector.entries, tasks, outcome);
    for (const CollectedTimeline& timeline : collector.timelines) {
        if (options.strict) FailOnEntries(timeline.input, timeline.import.report, {}, outcome);
    }
    return outcome;
}

}  // namespace orlo::host
