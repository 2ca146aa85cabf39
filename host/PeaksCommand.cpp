// SPDX-License-Identifier: MIT
#include <filesystem>
#include <memory>

#include "host/Commands.h"
#include "host/Input.h"
#include "host/OutputFile.h"
#include "host/Paths.h"
#include "host/PeakExport.h"
#include "host/PeakMaking.h"
#include "host/Text.h"
#include "sonrel/contracts/zrtl/Paths.h"

namespace orlo::host {

namespace {

/// The streams of all inputs.
struct Work {
    std::shared_ptr<project::MediaManager> manager = std::make_shared<project::MediaManager>();
    std::vector<PeakTask> tasks;
    std::vector<MediaEntry> entries;
};

Work CollectWork(const GlobalOptions& global, const PeaksOptions& options) {
    Work work;
    MediaCollector collector(global, [&](const std::string& path, int stream, int) {
        work.tasks.push_back(PeakTaskFor(work.manager, path, stream));
        return work.tasks.size() - 1;
    });
    for (const std::string& input : options.inputs) collector.Add(input);
    work.entries = std::move(collector.entries);
    for (MediaEntry& entry : work.entries) {
        if (entry.task) entry.rate = work.tasks[*entry.task].rate;
    }
    return work;
}

/// The one stream that -o and --export are about.
PeakTask& OnlyTask(Work& work, const PeaksOptions& options) {
    if (work.entries.size() != 1) {
        throw JobError(Quoted(options.inputs.front()) + " uses " +
                       std::to_string(work.entries.size()) +
                       " media, and -o and --export take one; name the media file");
    }
    if (!work.entries.front().task) throw JobError(work.entries.front().error);
    return work.tasks.front();
}

void CheckOutputs(const PeaksOptions& options, const PeakTask& task) {
    for (const std::string& output : {options.output, options.exportFile}) {
        if (output.empty()) continue;
        RequireOtherFile(output, options.inputs.front());
        RequireOtherFile(output, zrtl::ToUtf8(task.asset->Filename()));
    }
    if (options.exportFile.empty() || options.output.empty()) return;
    if (AbsolutePath(options.output) == AbsolutePath(options.exportFile) ||
        IsSameFile(options.output, options.exportFile)) {
        throw UsageError("-o and --export name the same file " + Quoted(options.output));
    }
}

/// The rate of the stream's samples as they are read, which a container may tell wrong.
int ExactRate(const PeakTask& task) {
    project::Project project;
    return ImportMediaFile(project, zrtl::ToUtf8(task.asset->Filename()),
                           static_cast<int>(task.asset->AudioStreamIndex()))
        ->AudioStream()
        ->NativeSampleRate();
}

void Export(const PeakTask& task, const PeaksOptions& options, const std::string& peakPath,
            Outcome& outcome) {
    const int pixels = ExportPeaks(peakPath, ExactRate(task), options.zoom, options.exportFile);
    outcome.report["export"] = options.exportFile;
    outcome.report["samplesPerPixel"] = options.zoom;
    outcome.report["pixels"] = pixels;
    outcome.text += "exported  " + OneLine(options.exportFile) + ": " + std::to_string(pixels) +
                    " pixels of " + std::to_string(options.zoom) + " samples\n";
}

/// Without the cache: to the file of -o, or to one without a name that is gone when the export is
/// written.
Outcome RunWithoutCache(const GlobalOptions& global, const PeaksOptions& options) {
    Work work = CollectWork(global, options);
    PeakTask& task = OnlyTask(work, options);
    CheckOutputs(options, task);
    Progress progress(global.progress, global.quiet);
    OutputFile output(!options.output.empty()
                          ? options.output
                          : (std::filesystem::temp_directory_path() / "peaks.xwpk").string());
    WritePeakFile(task, output, options.mode, progress);
    task.result = {FileStatus::Made, options.output, {}};
    Outcome outcome = ReportFiles(work.entries, [&](std::size_t) { return task.result; });
    if (!options.exportFile.empty()) Export(task, options, output.OpenPath(), outcome);
    if (!options.output.empty()) output.Commit();
    return outcome;
}

Outcome RunWithCache(const GlobalOptions& global, const PeaksOptions& options) {
    Work work = CollectWork(global, options);
    if (!options.exportFile.empty()) CheckOutputs(options, OnlyTask(work, options));
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    FindOrMakePeakFiles(session, work.tasks, progress);
    Outcome outcome =
        ReportFiles(work.entries, [&](std::size_t task) { return work.tasks[task].result; });
    if (!options.exportFile.empty() && outcome.code == ExitCode::Done) {
        Export(work.tasks.front(), options, work.tasks.front().result.path, outcome);
    }
    return outcome;
}

}  // namespace

Outcome RunPeaks(const GlobalOptions& global, const PeaksOptions& options) {
    if (!options.output.empty() || global.noCacheDb) return RunWithoutCache(global, options);
    return RunWithCache(global, options);
}

}  // namespace orlo::host
