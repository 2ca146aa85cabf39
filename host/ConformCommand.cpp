// SPDX-License-Identifier: MIT
#include <map>
#include <optional>
#include <tuple>

#include "host/Commands.h"
#include "host/Conforming.h"
#include "host/Input.h"
#include "host/Paths.h"
#include "host/Text.h"

namespace orlo::host {

namespace {

/// A line of the result. Without a task it failed before there was anything to conform.
struct Entry {
    std::string input;
    std::string media;
    int stream = 0;
    int rate = 0;
    std::optional<std::size_t> task;
    std::string error;
};

/// Gathers what the inputs name. An input that cannot be read becomes an entry of its own, so that
/// the others are conformed all the same.
class Collector {
public:
    explicit Collector(const GlobalOptions& global) : global_(global) {}

    void Add(const std::string& input) {
        try {
            if (otio::IsTimelinePath(input)) {
                AddTimeline(input);
            } else {
                AddMedia(input, AbsolutePath(input), 0, RateFor(global_));
            }
        } catch (const JobError& error) {
            entries.push_back({input, {}, 0, RateFor(global_), std::nullopt, error.what()});
        }
    }

    std::vector<Entry> entries;
    std::vector<ConformTask> tasks;

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
        ConformTask task;
        task.asset = ImportMediaFile(project_, path, stream);
        task.rate = rate;
        tasks.push_back(task);
        known_[{path, stream, rate}] = tasks.size() - 1;
        return tasks.size() - 1;
    }

    const GlobalOptions& global_;
    project::Project project_;
    std::map<std::tuple<std::string, int, int>, std::size_t> known_;
};

const char* StatusName(ConformTask::Status status) {
    switch (status) {
        case ConformTask::Status::Made:
            return "made";
        case ConformTask::Status::Found:
            return "found";
        case ConformTask::Status::Failed:
            break;
    }
    return "failed";
}

void Report(const Entry& entry, const ConformTask& result, Outcome& outcome) {
    Json file;
    file["input"] = entry.input;
    file["media"] = entry.media;
    file["stream"] = entry.stream;
    file["rate"] = entry.rate;
    file["status"] = StatusName(result.status);
    file["path"] = result.path.empty() ? Json() : Json(result.path);
    file["error"] = result.error.empty() ? Json() : Json(result.error);
    outcome.report["files"].push_back(file);
    outcome.text += std::string(StatusName(result.status)) + "  " +
                    OneLine(entry.media.empty() ? entry.input : entry.media);
    if (entry.stream > 0)
        outcome.text += " (audio stream " + std::to_string(entry.stream + 1) + ")";
    outcome.text +=
        result.path.empty() ? ": " + OneLine(result.error) : " -> " + OneLine(result.path);
    outcome.text += "\n";
}

}  // namespace

Outcome RunConform(const GlobalOptions& global, const ConformOptions& options) {
    Collector collector(global);
    for (const std::string& input : options.inputs) collector.Add(input);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    Conform(session, collector.tasks, {options.jobs, options.allCodecs, options.force}, progress);

    Outcome outcome;
    outcome.report["files"] = Json::array();
    std::size_t failures = 0;
    std::string firstError;
    for (const Entry& entry : collector.entries) {
        ConformTask result;
        result.error = entry.error;
        if (entry.task) result = collector.tasks[*entry.task];
        Report(entry, result, outcome);
        if (result.status != ConformTask::Status::Failed) continue;
        ++failures;
        if (firstError.empty()) firstError = result.error;
    }
    if (failures == 1) {
        outcome.Fail(ExitCode::JobFailed, firstError);
    } else if (failures > 1) {
        outcome.Fail(ExitCode::JobFailed,
                     firstError + " (and " + std::to_string(failures - 1) + " more of " +
                         std::to_string(collector.entries.size()) + " failed)");
    }
    return outcome;
}

}  // namespace orlo::host
