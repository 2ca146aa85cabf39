// SPDX-License-Identifier: MIT
#include "host/report/PageMaker.h"

#include <cmath>

#include "host/measure/LevelSummary.h"
#include "host/media/PeakMaking.h"
#include "host/process/Cores.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

FoundPeaks FindPeaks(const EngineSession& session, const std::vector<MediaUse>& media,
                     Progress& progress) {
    // The assets do not own their manager.
    const auto manager = std::make_shared<project::MediaManager>();
    std::vector<PeakTask> tasks;
    std::vector<const MediaUse*> uses;
    for (const MediaUse& use : media) {
        if (!use.fit.silence.empty()) continue;
        // A file that deviates from the sound of its clips plays its first stream.
        const zrh::media::SoundChoice sound =
            use.fit.note.empty() ? use.sound : zrh::media::SoundChoice();
        tasks.push_back(PeakTaskFor(manager, use.location.path, sound));
        uses.push_back(&use);
    }
    if (!tasks.empty()) FindOrMakePeakFiles(session, tasks, {AvailableCores()}, progress);
    FoundPeaks found;
    for (std::size_t i = 0; i < tasks.size(); ++i) {
        const FileResult& result = tasks[i].result;
        if (result.status == FileStatus::Failed) {
            if (!HasTooManyChannels(tasks[i])) throw JobError(result.error);
            found.failures.push_back(result.error);
            continue;
        }
        found.sounds[{uses[i]->location.path, uses[i]->sound}] = {
            result.path, uses[i]->asset->AudioStream()->NativeSampleRate()};
    }
    return found;
}

void SummarizeWaves(const FoundPeaks& peaks, Summary& summary) {
    for (const std::string& failure : peaks.failures) {
        summary.AddAttention(failure, "the clips of the file have no waveform");
    }
}

void ReportLevels(const ReportPage& page, const MasterLevels* levels, Outcome& outcome) {
    outcome.report["rate"] = page.grid.rate;
    outcome.report["fps"] = page.grid.fps;
    outcome.report["grid"] = page.grid.factor;
    outcome.report["samples"] = std::llround(page.duration * page.grid.rate);
    outcome.report["loudness"] = nullptr;
    outcome.report["master"] = nullptr;
    if (levels == nullptr) return;
    Json loudness;
    AddLoudness(levels->loudness.Meter(), loudness);
    outcome.report["loudness"] = loudness;
    const SignalSummary master = levels->Summary(std::llround(page.from * page.grid.rate));
    outcome.report["master"] = Json::Object(
        {{"peak", Json::Array({master.peak[0], master.peak[1]})}, {"clips", master.clips.size()}});
}

}  // namespace orlo::host
