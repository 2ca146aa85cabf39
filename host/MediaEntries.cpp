// SPDX-License-Identifier: MIT
#include "host/MediaEntries.h"

#include "host/Input.h"
#include "host/InputProtection.h"
#include "host/Paths.h"
#include "host/Text.h"

namespace orlo::host {

namespace {

const char* StatusName(FileStatus status) {
    switch (status) {
        case FileStatus::Made:
            return "made";
        case FileStatus::Found:
            return "found";
        case FileStatus::Failed:
            break;
    }
    return "failed";
}

void ReportOne(const MediaEntry& entry, const FileResult& result, Outcome& outcome) {
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
    if (!result.path.empty()) outcome.text += " -> " + OneLine(result.path);
    if (!result.error.empty()) outcome.text += ": " + OneLine(result.error);
    outcome.text += "\n";
}

}  // namespace

void MediaCollector::Add(const std::string& input) {
    try {
        if (otio::IsTimelinePath(input)) {
            AddTimeline(input);
        } else {
            if (guard_ != nullptr) ProtectMediaInput(input, *guard_);
            AddMedia(input, AbsolutePath(input), 0, RateFor(global_));
        }
    } catch (const JobError& error) {
        entries.push_back({input, {}, 0, RateFor(global_), std::nullopt, error.what()});
    }
}

void MediaCollector::AddTimeline(const std::string& input) {
    const otio::TimelineImport import = ReadTimeline(input, global_);
    if (guard_ != nullptr) ProtectTimeline(input, import, *guard_);
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

void MediaCollector::AddMedia(const std::string& input, const std::string& path, int stream,
                              int rate) {
    MediaEntry entry{input, path, stream, rate, std::nullopt, {}};
    try {
        entry.task = TaskFor(path, stream, rate);
    } catch (const JobError& error) {
        entry.error = error.what();
    }
    entries.push_back(entry);
}

std::size_t MediaCollector::TaskFor(const std::string& path, int stream, int rate) {
    const auto known = known_.find({path, stream, rate});
    if (known != known_.end()) return known->second;
    const std::size_t task = makeTask_(path, stream, rate);
    known_[{path, stream, rate}] = task;
    return task;
}

Outcome ReportFiles(const std::vector<MediaEntry>& entries,
                    const std::function<FileResult(std::size_t task)>& resultOf) {
    Outcome outcome;
    outcome.report["files"] = Json::array();
    std::size_t failures = 0;
    std::string firstError;
    for (const MediaEntry& entry : entries) {
        FileResult result;
        result.error = entry.error;
        if (entry.task) result = resultOf(*entry.task);
        ReportOne(entry, result, outcome);
        if (result.status != FileStatus::Failed) continue;
        ++failures;
        if (firstError.empty()) firstError = result.error;
    }
    if (failures == 1) {
        outcome.Fail(ExitCode::JobFailed, firstError);
    } else if (failures > 1) {
        outcome.Fail(ExitCode::JobFailed, firstError + " (and " + std::to_string(failures - 1) +
                                              " more of " + std::to_string(entries.size()) +
                                              " failed)");
    }
    return outcome;
}

}  // namespace orlo::host
