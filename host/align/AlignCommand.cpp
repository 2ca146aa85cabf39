// SPDX-License-Identifier: MIT
#include "host/align/AlignCommand.h"

#include <algorithm>
#include <map>
#include <optional>

#include "host/align/Alignment.h"
#include "host/align/AlignmentReport.h"
#include "host/media/Conforming.h"
#include "host/media/InputProtection.h"
#include "host/media/PeakMaking.h"
#include "host/media/ReadCheck.h"
#include "host/output/OutputFile.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/WaveformPeakFileHelper.h"

namespace orlo::host {

namespace {

using project::MediaAsset;

/// The recordings of a command. Each file is imported once. A file that cannot be used is kept with
/// its error, so that the other files are still aligned.
class Recordings {
public:
    Recordings(const GlobalOptions& global, const std::vector<std::string>& inputs,
               const zrh::media::SoundChoice& sound)
        : rate_(RateFor(global)), sound_(sound) {
        for (const std::string& input : inputs) {
            if (otio::IsTimelinePath(input)) {
                throw UsageError("align accepts media files, and " + Quoted(input) +
                                 " is a timeline");
            }
            list_.push_back({input, AbsolutePath(input), nullptr, {}, {}});
        }
    }

    const std::vector<Recording>& List() const { return list_; }
    int Rate() const { return rate_; }

    void Prepare(const EngineSession& session, Progress& progress) {
        Import();
        ConformSources(session, progress);
        PreparePeaks(session, progress);
        for (Recording& recording : list_) {
            const Source& source = sources_[recording.path];
            recording.asset = source.asset;
            recording.error = source.error;
            if (recording.error.empty()) ReadLevels(recording);
        }
    }

private:
    struct Source {
        std::shared_ptr<MediaAsset> asset;
        std::string error;  ///< a clause; empty when the file can be used
    };

    void Import() {
        for (const Recording& recording : list_) {
            const auto [entry, isNew] = sources_.try_emplace(recording.path);
            if (!isNew) continue;
            try {
                entry->second.asset = ImportMediaFile(project_, recording.path, sound_);
            } catch (const JobError& error) {
                entry->second.error = error.what();
            }
        }
    }

    std::vector<Source*> UsableSources() {
        std::vector<Source*> usable;
        for (auto& [path, source] : sources_) {
            if (source.error.empty()) usable.push_back(&source);
        }
        return usable;
    }

    void ConformSources(const EngineSession& session, Progress& progress) {
        const std::vector<Source*> sources = UsableSources();
        std::vector<ConformTask> tasks;
        for (const Source* source : sources) {
            ConformTask task;
            task.asset = source->asset;
            task.rate = rate_;
            tasks.push_back(task);
        }
        Conform(session, tasks, {}, progress);
        for (std::size_t i = 0; i < tasks.size(); ++i) sources[i]->error = tasks[i].result.error;
    }

    void PreparePeaks(const EngineSession& session, Progress& progress) {
        const std::vector<Source*> sources = UsableSources();
        std::vector<PeakTask> tasks;
        for (const Source* source : sources) {
            PeakTask task;
            task.asset = source->asset;
            task.rate = source->asset->AudioStream()->NativeSampleRate();
            task.frames = source->asset->AudioStream()->NativeSampleCount();
            tasks.push_back(task);
        }
        FindOrMakePeakFiles(session, tasks, progress);
        for (std::size_t i = 0; i < tasks.size(); ++i) {
            const FileResult& result = tasks[i].result;
            sources[i]->error = result.error;
            if (result.status == FileStatus::Failed) continue;
            sonrel::WaveformPeakFileHelper::SetWaveformPreviewAvailable(tasks[i].asset,
                                                                        WidePath(result.path));
        }
    }

    void ReadLevels(Recording& recording) const {
        const project::MediaAudioStream& stream = *recording.asset->AudioStream();
        const std::optional<sonrel::LevelProfile> levels =
            sonrel::LevelProfile::Read(stream, rate_);
        if (levels) {
            recording.levels = *levels;
        } else {
            recording.error = "cannot read the peak file " +
                              Quoted(zrtl::ToUtf8(stream.WaveformPeakFilePath())) +
                              "; run the command again, or remove the file";
        }
    }

    project::Project project_;
    std::map<std::string, Source> sources_;
    std::vector<Recording> list_;
    int rate_ = 0;
    zrh::media::SoundChoice sound_;
};

/// The file name of the plot of a pair: the given name; with several pairs the number of the pair
/// is inserted before the extension.
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

std::string BelowClause(const RecordingPair& pair, const AlignmentResult& result,
                        double minCorrelation) {
    if (result.tooShort) return TooShortClause(pair);
    const double correlation = result.found.refined.correlation;
    const std::string found = "the correlation of " + Quoted(pair.A().input) + " and " +
                              Quoted(pair.B().input) + " is " + FormatNumber(correlation, 3);
    if (correlation >= minCorrelation) {
        return found + ", and unrelated recordings reach " + FormatNumber(result.found.chance, 3) +
               " by chance in the compared range; use recordings with a longer overlap";
    }
    return found + ", below " + FormatNumber(minCorrelation, 3) +
           "; set a lower --min-correlation to accept it";
}

/// Collects the results of all pairs.
class PairResults {
public:
    PairResults(const AlignOptions& options, const Recordings& recordings, double fps,
                OutputGuard& guard)
        : options_(options),
          guard_(guard),
          list_(recordings.List()),
          grid_{recordings.Rate(), fps},
          synced_{{&list_.front(), 0}} {
        outcome_.report["results"] = Json::Array();
    }

    /// The grid of the first recording.
    const FrameGrid& Grid() const { return grid_; }

    /// Adds a pair that cannot be compared.
    void AddError(const Recording& other, const std::string& error) {
        const std::string& first = list_.front().input;
        outcome_.report["results"].Append(
            Json::Object({{"a", first}, {"b", other.input}, {"error", error}}));
        outcome_.text += Quoted(other.input) + " cannot be aligned with " + Quoted(first) + "\n" +
                         "  error       " + OneLine(error) + "\n";
        ++errors_;
        if (firstError_.empty()) firstError_ = error;
    }

    void Add(const RecordingPair& pair, const AlignmentResult& result, std::size_t number) {
        outcome_.report["results"].Append(AlignmentJson(pair, result));
        outcome_.text += AlignmentText(pair, result, grid_);
        if (!options_.plot.empty()) {
            WriteWholeFile(PlotName(options_.plot, number - 1, list_.size() - 1), guard_,
                           AlignmentPlot(pair, result));
        }
        if (result.verdict == Verdict::Aligned) {
            synced_.push_back({&pair.B(), result.found.refined.offset});
        } else if (below_.empty()) {
            below_ = BelowClause(pair, result, options_.minCorrelation);
        }
    }

    Outcome Finish() {
        if (!options_.otio.empty() && errors_ < list_.size() - 1) {
            WriteWholeFile(options_.otio, guard_, SyncedTimeline(synced_, grid_.rate, grid_.fps));
        }
        if (errors_ > 1) {
            firstError_ += " (" + std::to_string(errors_) + " of " +
                           std::to_string(list_.size() - 1) + " pairs cannot be aligned)";
        }
        if (errors_ > 0) {
            outcome_.Fail(ExitCode::JobFailed, firstError_);
        } else if (!below_.empty()) {
            outcome_.Fail(ExitCode::ConditionFailed, below_);
        }
        return outcome_;
    }

private:
    const AlignOptions& options_;
    OutputGuard& guard_;
    const std::vector<Recording>& list_;
    FrameGrid grid_;
    Outcome outcome_;
    std::vector<SyncedRecording> synced_;
    std::size_t errors_ = 0;
    std::string firstError_;
    std::string below_;
};

void CheckOptions(const GlobalOptions& global, const AlignOptions& options) {
    if (options.inputs.size() < 2) throw UsageError("align needs two recordings or more");
    if (global.noCacheDb) {
        throw UsageError("align needs the cache for its files; leave out --no-cache-db");
    }
}

}  // namespace

Outcome RunAlign(const GlobalOptions& global, const AlignOptions& options) {
    CheckOptions(global, options);
    CheckSound(options.sound, options.inputs);
    Recordings recordings(global, options.inputs, options.sound.Choice());
    OutputGuard guard(options.overwrite);
    ClaimOutputs(global, options, guard);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    recordings.Prepare(session, progress);

    const std::vector<Recording>& list = recordings.List();
    const Recording& first = list.front();
    PairResults results(options, recordings, first.asset ? FrameRateOf(*first.asset, global) : 0.0,
                        guard);
    for (std::size_t i = 1; i < list.size(); ++i) {
        const std::string& error = first.error.empty() ? list[i].error : first.error;
        if (!error.empty()) {
            results.AddError(list[i], error);
            continue;
        }
        const RecordingPair pair(session.Engine(), first, list[i], recordings.Rate());
        const ReadCheck reads(*session.Engine()->Mixer(), results.Grid());
        const AlignmentResult result = Align(pair, options.minCorrelation, progress);
        const std::string unreadable = reads.ErrorMessage();
        if (unreadable.empty()) {
            results.Add(pair, result, i);
        } else {
            results.AddError(list[i], unreadable);
        }
    }
    return results.Finish();
}

}  // namespace orlo::host
