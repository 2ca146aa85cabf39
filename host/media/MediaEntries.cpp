// SPDX-License-Identifier: MIT
#include "host/media/MediaEntries.h"

#include <set>

#include "host/media/InputProtection.h"
#include "host/otio/TimelinePath.h"
#include "host/shell/Paths.h"
#include "host/shell/SoundText.h"
#include "host/shell/Terminal.h"
#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"
#include "host/timeline/UnreadPictures.h"
#include "host/timeline/UnusedSound.h"

namespace orlo::host {

namespace {

const char* StatusName(FileStatus status) {
    switch (status) {
        case FileStatus::Made:
            return "made";
        case FileStatus::Found:
            return "found";
        case FileStatus::Missing:
            return "missing";
        case FileStatus::Failed:
            break;
    }
    return "failed";
}

void ReportOne(const MediaEntry& entry, const FileResult& result, Outcome& outcome) {
    Json file;
    file["input"] = entry.input;
    file["media"] = entry.media;
    file["stream"] = StreamJson(entry.sound);
    if (!entry.sound.IsWholeStream()) file["channels"] = ChannelsText(entry.sound);
    file["rate"] = entry.rate;
    file["status"] = StatusName(result.status);
    file["path"] = result.path.empty() ? Json() : Json(result.path);
    file["error"] = result.error.empty() ? Json() : Json(result.error);
    if (!entry.note.empty()) file["note"] = entry.note;
    outcome.report["files"].Append(file);
    outcome.text += std::string(StatusName(result.status)) + "  " +
                    OneLine(entry.media.empty() ? entry.input : entry.media) +
                    SoundSuffix(entry.sound);
    if (!result.path.empty()) outcome.text += " -> " + OneLine(result.path);
    if (!result.error.empty()) outcome.text += ": " + OneLine(result.error);
    outcome.text += "\n";
    if (!entry.note.empty()) {
        outcome.text +=
            IndentedLines("note: " + entry.note + "; " + CHOOSE_SOUND, 6, 10, ReportColumns());
    }
}

FileResult ResultWithoutTask(const MediaEntry& entry) {
    const bool allowed = entry.missing && entry.error.empty();
    return {allowed ? FileStatus::Missing : FileStatus::Failed, {}, entry.error};
}

/// Counts the failed entries and stores the first clause of each exit code.
class Failures {
public:
    explicit Failures(const std::vector<MediaEntry>& entries) : total_(entries.size()) {
        for (const MediaEntry& entry : entries) {
            if (entry.missing && !entry.error.empty()) incomplete_.insert(entry.input);
        }
    }

    /// Missing media determine the exit code of their timeline, whatever else fails in it.
    void Add(const MediaEntry& entry, const std::string& error) {
        ++count_;
        if (!incomplete_.contains(entry.input)) {
            if (failure_.empty()) failure_ = error;
        } else if (entry.missing && condition_.empty()) {
            condition_ = error;
        }
    }

    void Report(Outcome& outcome) const {
        if (count_ == 0) return;
        const bool failed = !failure_.empty();
        std::string clause = failed ? failure_ : condition_;
        if (count_ > 1) {
            clause += " (and " + std::to_string(count_ - 1) + " more of " + std::to_string(total_) +
                      " failed)";
        }
        outcome.Fail(failed ? ExitCode::JobFailed : ExitCode::ConditionFailed, clause);
    }

private:
    std::size_t total_;
    std::size_t count_ = 0;
    std::set<std::string> incomplete_;  ///< timelines with missing media
    std::string failure_;
    std::string condition_;
};

}  // namespace

void MediaCollector::Add(const std::string& input) {
    try {
        if (otio::IsTimelinePath(input)) {
            AddTimeline(input);
        } else {
            if (guard_ != nullptr) ProtectMediaInput(input, *guard_);
            AddMedia(input, AbsolutePath(input), sound_, RateFor(global_));
            entries.back().note = UnusedSoundOfInput(entries.back().media, sound_);
        }
    } catch (const JobError& error) {
        MediaEntry entry;
        entry.input = input;
        entry.rate = RateFor(global_);
        entry.error = error.what();
        entries.push_back(std::move(entry));
    }
}

void MediaCollector::AddTimeline(const std::string& input) {
    ReadingChoice choice;
    choice.audioFrom = audioFrom_;
    CollectedTimeline timeline{input, ReadTimeline(input, global_, choice), {}};
    const otio::Arrangement& arrangement = timeline.import.arrangement;
    if (guard_ != nullptr) ProtectTimeline(input, timeline.import, *guard_);
    for (const MediaUse& use : CollectMedia(arrangement.tracks)) {
        if (use.isMissing) {
            AddMissing(input, use, arrangement.rate);
        } else {
            AddClipMedia(timeline, use);
        }
    }
    timelines.push_back(std::move(timeline));
}

void MediaCollector::AddClipMedia(CollectedTimeline& timeline, const MediaUse& use) {
    const int rate = timeline.import.arrangement.rate;
    AddMedia(timeline.input, use.location.path, use.sound, rate);
    if (entries.back().error.empty()) return;
    SoundFit fit = FitOfUnreadPicture(use, entries.back().error);
    if (!fit.isUnread) fit = FitOfFile(use.location.path, use.sound);
    if (fit.isUnread || fit.silence == NO_SOUND_REASON) {
        entries.pop_back();
        timeline.silent.push_back(use);
        timeline.silent.back().fit = fit;
    } else if (!fit.note.empty()) {
        entries.pop_back();
        AddMedia(timeline.input, use.location.path, {}, rate);
        entries.back().clipSound = use.sound;
        entries.back().fit = fit;
    }
}

void MediaCollector::AddMissing(const std::string& input, const MediaUse& use, int rate) {
    const std::string error =
        global_.allowMissing ? std::string() : MissingMediaClause(input, {use});
    MediaEntry entry{input, use.location.path, use.sound, rate, std::nullopt, error, true};
    entries.push_back(std::move(entry));
}

void MediaCollector::AddMedia(const std::string& input, const std::string& path,
                              const zrh::media::SoundChoice& sound, int rate) {
    MediaEntry entry{input, path, sound, rate, std::nullopt, {}, false};
    try {
        entry.task = TaskFor(path, sound, rate);
    } catch (const JobError& error) {
        entry.error = error.what();
    }
    entries.push_back(entry);
}

std::size_t MediaCollector::TaskFor(const std::string& path, const zrh::media::SoundChoice& sound,
                                    int rate) {
    const auto known = known_.find({path, sound, rate});
    if (known != known_.end()) return known->second;
    const std::size_t task = makeTask_(path, sound, rate);
    known_[{path, sound, rate}] = task;
    return task;
}

FileResult WithLastingPath(const GlobalOptions& global, FileResult result) {
    if (!global.spool.folder.empty()) result.path.clear();
    return result;
}

Outcome ReportFiles(const std::vector<MediaEntry>& entries,
                    const std::function<FileResult(std::size_t task)>& resultOf) {
    Outcome outcome;
    outcome.report["files"] = Json::Array();
    Failures failures(entries);
    for (const MediaEntry& entry : entries) {
        const FileResult result = entry.task ? resultOf(*entry.task) : ResultWithoutTask(entry);
        ReportOne(entry, result, outcome);
        if (result.status == FileStatus::Failed) failures.Add(entry, result.error);
    }
    failures.Report(outcome);
    return outcome;
}

}  // namespace orlo::host
