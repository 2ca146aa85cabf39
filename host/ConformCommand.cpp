// SPDX-License-Identifier: MIT
#include "host/Commands.h"
#include "host/Conforming.h"
#include "host/Input.h"
#include "host/MediaEntries.h"

namespace orlo::host {

Outcome RunConform(const GlobalOptions& global, const ConformOptions& options) {
    project::Project project;
    std::vector<ConformTask> tasks;
<<<<<<< HEAD

private:
    void AddTimeline(const std::string& input) {
        const otio::TimelineImport import = ReadTimeline(input, global_);
        const int rate = import.arrangement.rate;
        for (const MediaUse& use : CollectMedia(import.arrangement.tracks)) {
            if (use.location.problem.empty()) {
                AddMedia(input, use.location.path, use.stream, rate);
            } else {
                entries.push_back(
                    {input, use.location.path, use.stream, rate, std::nullopt,
                     "cannot use " + Quoted(use.location.path) + ": " + use.location.problem});
            }
        }
    }

    void AddMedia(const std::string& input, const std::string& path, int stream, int rate) {
        Entry entry{input, path, stream, rate, std::nullopt, {}};
        try {
            entry.task = TaskFor(path, stream, rate);
        } catch (const JobError& error) {
            entry.error = error.what();
        }
        entries.push_back(entry);
    }

    /// Several inputs may name one file: it is one task.
    std::size_t TaskFor(const std::string& path, int stream, int rate) {
        const auto known = known_.find({path, stream, rate});
        if (known != known_.end()) return known->second;
=======
    MediaCollector collector(global, [&](const std::string& path, int stream, int rate) {
>>>>>>> c24fcf7 (Make and export peak files on the command line)
        ConformTask task;
        task.asset = ImportMediaFile(project, path, stream);
        task.rate = rate;
        tasks.push_back(task);
        return tasks.size() - 1;
    });
    for (const std::string& input : options.inputs) collector.Add(input);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    Conform(session, tasks, {options.jobs, options.allCodecs, options.force}, progress);
    return ReportFiles(collector.entries, [&](std::size_t task) {
        return FileResult{tasks[task].status, tasks[task].path, tasks[task].error};
    });
}

}  // namespace orlo::host
