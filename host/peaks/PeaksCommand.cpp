// SPDX-License-Identifier: MIT
#include "host/peaks/PeaksCommand.h"

#include <filesystem>
#include <memory>
#include <optional>

#include "host/media/InputProtection.h"
#include "host/media/PeakMaking.h"
#include "host/media/SpooledInput.h"
#include "host/output/OutputFile.h"
#include "host/peaks/PeakExport.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "sonrel/base/Paths.h"

namespace orlo::host {

namespace {

/// The name, for messages, of a temporary file that never gets a name.
std::string ScratchName() {
    return (std::filesystem::temp_directory_path() / "peaks.xwpk").string();
}

/// The streams of all inputs.
struct Work {
    std::shared_ptr<project::MediaManager> manager = std::make_shared<project::MediaManager>();
    std::vector<PeakTask> tasks;
    std::vector<MediaEntry> entries;
};

void RequireOutputOfStandardInput(const GlobalOptions& global, const PeaksOptions& options) {
    if (!global.spool.hasStandardInput || !options.output.empty() || !options.exportFile.empty())
        return;
    throw UsageError("standard input has no file in the cache; name a file, or use -o or --export");
}

Work CollectWork(const GlobalOptions& global, const PeaksOptions& options, OutputGuard& guard) {
    Work work;
    const auto makeTask = [&](const std::string& path, const zrh::media::SoundChoice& sound, int) {
        work.tasks.push_back(PeakTaskFor(work.manager, path, sound));
        return work.tasks.size() - 1;
    };
    MediaCollector collector(global, &guard, options.sound.Choice(), otio::AudioFrom::Auto,
                             makeTask);
    for (const std::string& input : options.inputs) collector.Add(input);
    work.entries = std::move(collector.entries);
    for (MediaEntry& entry : work.entries) {
        if (entry.task) entry.rate = work.tasks[*entry.task].rate;
    }
    return work;
}

/// The only stream, as required by -o and --export.
PeakTask& OnlyTask(Work& work, const PeaksOptions& options) {
    for (const MediaEntry& entry : work.entries) {
        if (entry.missing && !entry.error.empty()) throw ConditionError(entry.error);
    }
    if (work.entries.size() != 1) {
        throw JobError(Quoted(options.inputs.front()) + " uses " +
                       std::to_string(work.entries.size()) +
                       " media files, and -o and --export accept only one; name the media file");
    }
    const MediaEntry& entry = work.entries.front();
    if (entry.missing) throw JobError(Quoted(entry.media) + " is missing: it has no sound to read");
    if (!entry.task) throw JobError(entry.error);
    return work.tasks.front();
}

void ClaimOutputs(const GlobalOptions& global, const PeaksOptions& options, OutputGuard& guard) {
    ProtectCache(global, guard);
    if (!options.output.empty()) guard.Claim(options.output);
    if (!options.exportFile.empty()) guard.Claim(options.exportFile);
}

/// The rate of the stream's samples as they are read, because a container may declare a wrong rate.
int ExactRate(const PeakTask& task) {
    project::Project project;
    return ImportMediaFile(project, zrtl::ToUtf8(task.asset->Filename()),
                           zrh::media::SoundChoice::FromNumber(task.asset->AudioStreamIndex()))
        ->AudioStream()
        ->NativeSampleRate();
}

void Export(const PeakTask& task, const PeaksOptions& options, const std::string& peakPath,
            OutputFile& output, Outcome& outcome) {
    const int pixels = ExportPeaks(peakPath, ExactRate(task), options.zoom, output);
    outcome.report["export"] = options.exportFile;
    outcome.report["samplesPerPixel"] = options.zoom;
    outcome.report["pixels"] = pixels;
    outcome.text += "exported  " + OneLine(options.exportFile) + ": " + std::to_string(pixels) +
                    " pixels of " + std::to_string(options.zoom) + " samples\n";
}

/// Runs without the cache. Writes the peak file of -o, or an unnamed file that exists only until
/// the export is written.
Outcome RunWithoutCache(const GlobalOptions& global, const PeaksOptions& options) {
    OutputGuard guard(options.overwrite);
    Work work = CollectWork(global, options, guard);
    PeakTask& task = OnlyTask(work, options);
    ClaimOutputs(global, options, guard);
    Progress progress(global.progress, global.quiet);
    std::optional<OutputFile> output;
    if (!options.output.empty()) output.emplace(options.output, guard);
    std::optional<PartialFile> scratch;
    if (!output) scratch.emplace(ScratchName(), ScratchName());
    const PartialFile& peaks = output ? output->Seekable() : *scratch;
    WritePeakFile(task, peaks, options.mode, output ? options.output : options.exportFile,
                  progress);
    task.result = {FileStatus::Made, options.output, {}};
    Outcome outcome = ReportFiles(work.entries, [&](std::size_t) { return task.result; });
    if (output) output->Seal();
    if (!options.exportFile.empty()) {
        OutputFile exported(options.exportFile, guard);
        Export(task, options, peaks.OpenPath(), exported, outcome);
        exported.Commit();
    }
    if (output) output->Commit();
    return outcome;
}

Outcome RunWithCache(const GlobalOptions& global, const PeaksOptions& options) {
    OutputGuard guard(options.overwrite);
    Work work = CollectWork(global, options, guard);
    if (!options.exportFile.empty()) {
        OnlyTask(work, options);
        ClaimOutputs(global, options, guard);
    }
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    const CurrentFiles current = options.force ? CurrentFiles::Recreated : CurrentFiles::Kept;
    FindOrMakePeakFiles(session, work.tasks, {options.jobs.Count(), current}, progress);
    Outcome outcome = ReportFiles(work.entries, [&](std::size_t task) {
        return WithLastingPath(global, work.tasks[task].result);
    });
    if (options.exportFile.empty()) NoteTemporaryFiles(global, outcome);
    if (!options.exportFile.empty() && outcome.code == ExitCode::Done) {
        OutputFile exported(options.exportFile, guard);
        Export(work.tasks.front(), options, work.tasks.front().result.path, exported, outcome);
        exported.Commit();
    }
    return outcome;
}

void CheckOptions(const GlobalOptions& global, const PeaksOptions& options) {
    if (!options.exportFile.empty()) PeakExportFormatOf(options.exportFile);
    const bool single = !options.output.empty() || !options.exportFile.empty();
    if (single && options.inputs.size() > 1) {
        throw UsageError(std::string(options.output.empty() ? "--export" : "-o") +
                         " accepts only one INPUT");
    }
    if (options.force && (global.noCacheDb || !options.output.empty())) {
        throw UsageError(
            "--force makes files of the cache again; it cannot be combined with -o or "
            "--no-cache-db");
    }
    if (global.noCacheDb && !single) {
        throw UsageError(
            "peaks writes its files to the cache; leave out --no-cache-db or name a file with -o");
    }
}

}  // namespace

Outcome RunPeaks(const GlobalOptions& global, const PeaksOptions& options) {
    CheckOptions(global, options);
    CheckSound(options.sound, options.inputs);
    RequireOutputOfStandardInput(global, options);
    RequireOneCache(global, options.inputs);
    if (!options.output.empty() || global.noCacheDb) return RunWithoutCache(global, options);
    return RunWithCache(global, options);
}

}  // namespace orlo::host
