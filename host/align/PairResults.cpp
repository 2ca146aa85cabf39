// SPDX-License-Identifier: MIT
#include "host/align/PairResults.h"

#include "host/align/Alignment.h"
#include "host/align/AlignmentReport.h"
#include "host/media/InputProtection.h"
#include "host/media/ReadCheck.h"
#include "host/output/OutputFile.h"
#include "host/shell/Text.h"
#include "host/timeline/Positions.h"

namespace orlo::host {

namespace {

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
    PairResults(const AlignmentJob& job, const FrameGrid& grid)
        : options_(job.options),
          timeline_(job.timeline),
          guard_(job.guard),
          list_(job.recordings.List()),
          grid_(grid),
          synced_{{&list_.front(), 0}} {
        outcome_.report["results"] = Json::Array();
    }

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

    /// @param plot  the document of the plot; empty without one
    void Add(const RecordingPair& pair, const AlignmentResult& result, std::size_t number,
             const std::string& plot) {
        outcome_.report["results"].Append(AlignmentJson(pair, result));
        outcome_.text += AlignmentText(pair, result, grid_);
        if (!plot.empty()) {
            WriteWholeFile(PlotName(options_.plot, number - 1, list_.size() - 1), guard_, plot);
        }
        if (result.verdict == Verdict::Aligned) {
            synced_.push_back({&pair.B(), result.found.refined.offset});
        } else if (below_.empty()) {
            below_ = BelowClause(pair, result, options_.minCorrelation);
        }
    }

    Outcome Finish() {
        if (!options_.otio.empty() && errors_ < list_.size() - 1) {
            WriteWholeFile(options_.otio, guard_, timeline_(synced_, grid_.rate, grid_.fps));
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
    const TimelineWriter timeline_;
    OutputGuard& guard_;
    const std::vector<Recording>& list_;
    const FrameGrid grid_;
    Outcome outcome_;
    std::vector<SyncedRecording> synced_;
    std::size_t errors_ = 0;
    std::string firstError_;
    std::string below_;
};

}  // namespace

void ClaimAlignOutputs(const GlobalOptions& global, const AlignOptions& options,
                       const std::vector<std::string>& inputs, OutputGuard& guard) {
    if (options.plot.empty() && options.otio.empty()) return;
    ProtectCache(global, guard);
    for (const std::string& input : inputs) ProtectMediaInput(input, guard);
    const std::size_t pairs = inputs.size() - 1;
    for (std::size_t pair = 0; pair < pairs && !options.plot.empty(); ++pair) {
        guard.Claim(PlotName(options.plot, pair, pairs));
    }
    if (!options.otio.empty()) guard.Claim(options.otio);
}

Outcome AlignWithFirst(const AlignmentJob& job, const EngineSession& session, Progress& progress) {
    const AlignOptions& options = job.options;
    const Recordings& recordings = job.recordings;
    const std::vector<Recording>& list = recordings.List();
    const Recording& first = list.front();
    const FrameGrid grid{recordings.Rate(), job.fps};
    PairResults results(job, grid);
    for (std::size_t i = 1; i < list.size(); ++i) {
        const std::string& error = first.error.empty() ? list[i].error : first.error;
        if (!error.empty()) {
            results.AddError(list[i], error);
            continue;
        }
        const RecordingPair pair(session.Engine(), first, list[i], recordings.Rate());
        const ReadCheck reads(*session.Engine()->Mixer(), grid);
        const AlignmentResult result = Align(pair, options.minCorrelation, progress);
        const std::string plot = options.plot.empty() ? std::string() : AlignmentPlot(pair, result);
        const std::string unreadable = reads.ErrorMessage();
        if (unreadable.empty()) {
            results.Add(pair, result, i, plot);
        } else {
            results.AddError(list[i], unreadable);
        }
    }
    return results.Finish();
}

}  // namespace orlo::host
