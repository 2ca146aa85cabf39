// SPDX-License-Identifier: MIT
#include "host/loudness/LoudnessCommand.h"

#include <cmath>
#include <string>

#include "host/loudness/InputMeasurement.h"
#include "host/measure/LevelSummary.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "host/timeline/Strictness.h"

namespace orlo::host {

namespace {

/// Without --tolerance, LU.
constexpr double DEFAULT_TOLERANCE = 1.0;

Json ResultJson(const std::string& input, const sonrel::LoudnessMeter& meter) {
    Json result = Json::Object({{"input", input}});
    AddLoudness(meter, result);
    return result;
}

std::string ResultText(const std::string& input, const sonrel::LoudnessMeter& meter) {
    return OneLine(input) + ": loudness " + LevelOrNone(meter.IntegratedLufs(), "LUFS") +
           ", range " + LevelOrNone(meter.RangeLu(), "LU") + "\n  momentary up to " +
           LevelOrNone(meter.MaxMomentaryLufs(), "LUFS") + ", short-term up to " +
           LevelOrNone(meter.MaxShortTermLufs(), "LUFS") + ", true peak " +
           LevelOrNone(meter.TruePeakDb(), "dBTP") + "\n";
}

/// Collects the results of all inputs.
class LoudnessResults {
public:
    explicit LoudnessResults(const LoudnessOptions& options) : options_(options) {
        outcome_.report["files"] = Json::Array();
        outcome_.report["notTakenOver"] = Json::Array();
    }

    void Add(const std::string& input, const InputMeasurement& result) {
        outcome_.report["files"].Append(ResultJson(input, result.meter));
        outcome_.text += ResultText(input, result.meter) + NotTakenOverText(result.report);
        const Json entries = NotTakenOverJson(result.report);
        for (const Json& entry : entries.AsArray()) {
            Json withInput = Json::Object({{"input", input}});
            for (const auto& [key, value] : entry.AsObject()) withInput[key] = value;
            outcome_.report["notTakenOver"].Append(std::move(withInput));
        }
        if (outside_.empty()) outside_ = OutsideClause(input, result.meter.IntegratedLufs());
    }

    /// Adds an input that cannot be measured.
    void AddError(const std::string& input, const CommandError& error) {
        outcome_.report["files"].Append(
            Json::Object({{"input", input}, {"error", std::string(error.what())}}));
        outcome_.text += OneLine(input) + ": cannot be measured\n  " + OneLine(error.what()) + "\n";
        ++errors_;
        if (firstError_.empty()) firstError_ = error.what();
        if (error.Code() == ExitCode::JobFailed) errorCode_ = ExitCode::JobFailed;
    }

    Outcome Finish() {
        if (errors_ > 1) {
            firstError_ += " (" + std::to_string(errors_) + " of " +
                           std::to_string(options_.inputs.size()) + " inputs cannot be measured)";
        }
        if (errors_ > 0) {
            outcome_.Fail(errorCode_, firstError_);
        } else if (!outside_.empty()) {
            outcome_.Fail(ExitCode::ConditionFailed, outside_);
        }
        return outcome_;
    }

private:
    /// Empty for a loudness that --target allows.
    std::string OutsideClause(const std::string& input, const std::optional<double>& lufs) const {
        if (!options_.target) return {};
        const double tolerance = options_.tolerance.value_or(DEFAULT_TOLERANCE);
        if (lufs && std::abs(*lufs - *options_.target) <= tolerance) return {};
        return Quoted(input) + " has " +
               (lufs ? "a loudness of " + FormatNumber(*lufs, 2) + " LUFS" : "no loudness") +
               ", outside " + FormatNumber(*options_.target, 2) + " LUFS with a tolerance of " +
               FormatNumber(tolerance, 2) +
               " LU; mix it with --normalize, or allow more with "
               "--tolerance";
    }

    const LoudnessOptions& options_;
    Outcome outcome_;
    std::size_t errors_ = 0;
    std::string firstError_;
    /// Missing media are a condition; any other failure is a failed job.
    ExitCode errorCode_ = ExitCode::ConditionFailed;
    std::string outside_;
};

}  // namespace

Outcome RunLoudness(const GlobalOptions& global, const LoudnessOptions& options) {
    if (options.tolerance && !options.target) {
        throw UsageError("--tolerance is the distance from --target; give both or none");
    }
    CheckSound(options.sound, options.inputs);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    LoudnessResults results(options);
    for (const std::string& input : options.inputs) {
        try {
            results.Add(input,
                        MeasureInput(input, global, options.sound.Choice(), session, progress));
        } catch (const CommandError& error) {
            const bool isOfInput =
                error.Code() == ExitCode::JobFailed || error.Code() == ExitCode::ConditionFailed;
            if (!isOfInput) throw;
            results.AddError(input, error);
        }
    }
    return results.Finish();
}

}  // namespace orlo::host
