// SPDX-License-Identifier: MIT
#include "host/conform/ConformCommand.h"

#include "host/media/Conforming.h"
#include "host/media/MediaEntries.h"
#include "host/shell/Errors.h"
#include "host/timeline/Input.h"

namespace orlo::host {

Outcome RunConform(const GlobalOptions& global, const ConformOptions& options) {
    if (global.noCacheDb) {
        throw UsageError("conform writes its files to the cache; leave out --no-cache-db");
    }
    CheckSound(options.sound, options.inputs);
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
    MediaCollector collector(global, nullptr, options.sound.Choice(), makeTask);
    for (const std::string& input : options.inputs) collector.Add(input);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    Conform(session, tasks, {options.jobs, options.allCodecs, options.force}, progress);
    return ReportFiles(collector.entries, [&](std::size_t task) { return tasks[task].result; });
}

}  // namespace orlo::host
