// SPDX-License-Identifier: MIT
#include <algorithm>
#include <map>

#include "host/Alignment.h"
#include "host/AlignmentReport.h"
#include "host/Commands.h"
#include "host/Conforming.h"
#include "host/Input.h"
#include "host/InputProtection.h"
#include "host/OutputFile.h"
#include "host/Paths.h"
#include "host/PeakMaking.h"
#include "host/Text.h"
#include "sonrel/caches/WaveformPeakFileHelper.h"

namespace orlo::host {

namespace {

using project::MediaAsset;

/// The recordings of a command, each file imported once.
class Recordings {
public:
    Recordings(const GlobalOptions& global, const std::vector<std::string>& inputs) {
        for (const std::string& input : inputs) {
            if (otio::IsTimelinePath(input)) {
                throw UsageError("align takes media files, and " + Quoted(input) +
                                 " is a timeline");
            }
            Recording recording{input, AbsolutePath(input), nullptr, {}};
            std::shared_ptr<MediaAsset>& asset = assets_[recording.path];
            if (!asset) asset = ImportMediaFile(project_, recording.path, 0);
            recording.asset = asset;
            list_.push_back(recording);
        }
        rate_ = RateFor(global);
    }

    const std::vector<Recording>& List() const { return list_; }
    int Rate() const { return rate_; }

    void Prepare(const EngineSession& session, Progress& progress) {
        std::vector<ConformTask> tasks;
        for (const auto& [path, asset] : assets_) {
            ConformTask task;
            task.asset = asset;
            task.rate = rate_;
            tasks.push_back(task);
        }
        Conform(session, tasks, {}, progress);
        for (const ConformTask& task : tasks) {
            if (task.status == ConformTask::Status::Failed) throw JobError(task.error);
        }
        PreparePeaks(session, progress);
        for (Recording& recording : list_) {
            recording.levels = LevelProfile(*recording.asset, rate_);
        }
    }

private:
    void PreparePeaks(const EngineSession& session, Progress& progress) const {
        std::vector<PeakTask> tasks;
        for (const auto& [path, asset] : assets_) {
            PeakTask task;
            task.asset = asset;
            task.rate = asset->AudioStream()->NativeSampleRate();
            task.frames = asset->AudioStream()->NativeSampleCount();
            tasks.push_back(task);
        }
        FindOrMakePeakFiles(session, tasks, progress);
        for (const PeakTask& task : tasks) {
            if (task.result.status == FileStatus::Failed) throw JobError(task.result.error);
            sonrel::WaveformPeakFileHelper::SetWaveformPreviewAvailable(task.asset,
                                                                        WidePath(task.result.path));
        }
    }

    project::Project project_;
    std::map<std::string, std::shared_ptr<MediaAsset>> assets_;
    std::vector<Recording> list_;
    int rate_ = 0;
};

/// The name of the plot of a pair: the given one; with several pairs the pair's number before its
/// extension.
std::string PlotName(const std::string& name, std::size_t pair, std::size_t pairs) {
    if (pairs == 1) return name;
    const std::size_t slash = name.find_last_of('/');
    const std::size_t dot = name.find_last_of('.');
    const bool hasExtension =
        dot != std::string::npos && (slash == std::string::npos || dot > slash + 1);
    const std::size_t at = hasExtension ? dot : name.size();
    return name.substr(0, at) + "-" + std::to_string(pair + 1) + name.substr(at);
}

void ClaimOutputs(const GlobalOptions& global, const AlignOptions& options, OutputGuard& guard) {
    if (options.plot.empty() && options.otio.empty()) return;
    ProtectCache(global, guard);
    for (const std::string& input : options.inputs) ProtectMediaInput(input, guard);
    const std::size_t pairs = options.inputs.size() - 1;
    for (std::size_t pair = 0; pair < pairs && !options.plot.empty(); ++pair) {
        guard.Claim(PlotName(options.plot, pair, pairs));
    }
    if (!options.otio.empty()) guard.Claim(options.otio);
}

std::string BelowClause(const RecordingPair& pair, const AlignmentAnswer& answer, double least) {
    return "the correlation of " + Quoted(pair.A().input) + " and " + Quoted(pair.B().input) +
           " is " + FormatNumber(answer.found.refined.correlation, 3) + ", below " +
           FormatNumber(least, 3) + "; give a lower --min-correlation to accept it";
}

}  // namespace

Outcome RunAlign(const GlobalOptions& global, const AlignOptions& options) {
    Recordings recordings(global, options.inputs);
    OutputGuard guard(options.overwrite);
    ClaimOutputs(global, options, guard);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    recordings.Prepare(session, progress);

    const std::vector<Recording>& list = recordings.List();
    const double fps = FrameRateOf(*list.front().asset, global);
    const FrameGrid grid{recordings.Rate(), fps};
    Outcome outcome;
    outcome.report["results"] = Json::array();
    std::vector<SyncedRecording> synced{{&list.front(), 0}};
    std::string below;
    for (std::size_t i = 1; i < list.size(); ++i) {
        const RecordingPair pair(session.Engine(), list.front(), list[i], recordings.Rate());
        const AlignmentAnswer answer = Align(pair, options.minCorrelation, progress);
        outcome.report["results"].push_back(AlignmentJson(pair, answer));
        outcome.text += AlignmentText(pair, answer, grid);
        if (!options.plot.empty()) {
            WriteWholeFile(PlotName(options.plot, i - 1, list.size() - 1), guard,
                           AlignmentPlot(pair, answer));
        }
        if (answer.verdict == Verdict::Aligned) {
            synced.push_back({&list[i], answer.found.refined.offset});
        } else if (below.empty()) {
            below = BelowClause(pair, answer, options.minCorrelation);
        }
    }
    if (!options.otio.empty()) {
        WriteWholeFile(options.otio, guard, SyncedTimeline(synced, recordings.Rate(), fps));
    }
    if (!below.empty()) outcome.Fail(ExitCode::ConditionFailed, below);
    return outcome;
}

}  // namespace orlo::host
