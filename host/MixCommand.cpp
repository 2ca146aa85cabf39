// SPDX-License-Identifier: MIT
#include <algorithm>
#include <optional>

#include "host/Commands.h"
#include "host/Input.h"
#include "host/Interrupt.h"
#include "host/Loudness.h"
#include "host/MixPreparation.h"
#include "host/MixRender.h"
#include "host/MixReport.h"
#include "host/OutputFile.h"
#include "host/Paths.h"
#include "host/Positions.h"
#include "host/Text.h"
#include "host/WavWriter.h"
#include "sonrel/contracts/zrtl/Timing.h"

namespace orlo::host {

namespace {

using sonrel::AudioMixer;

/// Meter blocks in a second.
constexpr int BLOCKS_PER_SECOND = 10;

void CheckOutputs(const MixOptions& options, const std::vector<MediaUse>& media) {
    for (const std::string& output : {options.output, options.meters}) {
        if (output.empty()) continue;
        RequireOtherFile(output, options.input);
        for (const MediaUse& use : media) RequireOtherFile(output, use.location.path);
    }
    if (!options.meters.empty() && (AbsolutePath(options.meters) == AbsolutePath(options.output) ||
                                    IsSameFile(options.meters, options.output))) {
        throw UsageError("-o and --meters name the same file " + Quoted(options.output));
    }
}

/// The keys that every mix has, as they stand before anything is mixed.
Json ReportHead(const MixOptions& options, const FrameGrid& grid, bool isTimeline) {
    Json report;
    report["output"] = nullptr;
    report["rate"] = grid.rate;
    report["fps"] = grid.fps;
    report["samples"] = 0;
    report["dither"] = isTimeline ? DitherName(options.dither) : "none";
    report["seed"] = nullptr;
    if (isTimeline) report["seed"] = options.seed == 0 ? Json("random") : Json(options.seed);
    if (isTimeline) report["tracks"] = Json::array();
    report["master"] = nullptr;
    report["loudness"] = {{"integrated", nullptr}, {"truePeak", nullptr}};
    report["missing"] = Json::array();
    report["notTakenOver"] = Json::array();
    return report;
}

std::string HeadText(const MixOptions& options, const FrameGrid& grid, long long samples) {
    return OneLine(options.output) + ": " +
           FormatDuration(static_cast<double>(samples) / grid.rate) + ", " +
           std::to_string(samples) + " samples at " + std::to_string(grid.rate) + " Hz\n";
}

/// A mix of a timeline, stage by stage.
class TimelineMix {
public:
    TimelineMix(const GlobalOptions& global, const MixOptions& options)
        : global_(global),
          options_(options),
          import_(ReadTimeline(options.input, global, options.soundFromVideo)),
          grid_{import_.arrangement.rate, import_.arrangement.fps},
          trackNames_(TrackNames(import_.arrangement)),
          media_(CollectMedia(import_.arrangement)),
          missing_(MissingMedia(media_)) {}

    Outcome Run() {
        const long long total =
            zrtl::TotalSamples(import_.arrangement.frameCount, grid_.rate, grid_.fps);
        if (total == 0) {
            throw JobError("the timeline " + Quoted(options_.input) +
                           " has no length: there is nothing to mix");
        }
        span_ = ParseSpan(options_.from, options_.to, grid_, total);
        CheckOutputs(options_, media_);
        if (!missing_.empty() && !options_.allowMissing) return RefuseMissing();
        Mix();
        return Report();
    }

private:
    Outcome RefuseMissing() {
        Outcome outcome;
        outcome.report = ReportHead(options_, grid_, true);
        for (const std::string& name : trackNames_) {
            outcome.report["tracks"].push_back(SignalJson({name, {}, {}}));
        }
        outcome.report["missing"] = MissingJson(missing_);
        outcome.report["notTakenOver"] = NotTakenOverJson(import_.report);
        outcome.Fail(ExitCode::ConditionFailed,
                     MissingMediaClause(options_.input, missing_) +
                         "; nothing was written; find them with --media-root, or leave them out "
                         "with --allow-missing");
        return outcome;
    }

    void Mix() {
        const auto project = std::make_shared<project::Project>();
        ImportMedia(*project, media_, import_.report);
        BuildSequence(import_.arrangement, media_, *project);

        WavWriter writer(options_.output, grid_.rate, span_.end - span_.begin);
        std::optional<OutputFile> meters;
        if (!options_.meters.empty()) meters.emplace(options_.meters);

        const EngineSession session(global_);
        Progress progress(global_.progress, global_.quiet);
        ConformAll(session, media_, grid_.rate, progress);

        AudioMixer& mixer = *session.Engine()->Mixer();
        const int blockFrames = std::max(1, grid_.rate / BLOCKS_PER_SECOND);
        mixer.SetDither(EngineDither(options_.dither), options_.seed);
        mixer.ResetMixSession();
        mixer.StartMeterSession(trackNames_.size(), blockFrames);
        loudness_.emplace(grid_.rate);
        MixSink sink(writer, *loudness_);
        RenderSequence(mixer, project, grid_, span_, sink, progress);
        mixer.StopMeterSession();

        summary_ = Summarize(mixer, trackNames_);
        if (meters) {
            meters->Write(
                MetersJson(mixer, trackNames_, grid_.rate, blockFrames, span_.begin).dump() + "\n");
        }
        if (Interrupted()) ThrowInterrupted("nothing was written");
        writer.Finish();
        if (meters) meters->Commit();
    }

    Outcome Report() {
        Outcome outcome;
        const long long samples = span_.end - span_.begin;
        outcome.report = ReportHead(options_, grid_, true);
        outcome.report["output"] = options_.output;
        outcome.report["samples"] = samples;
        for (const SignalSummary& track : summary_.tracks) {
            outcome.report["tracks"].push_back(SignalJson(track));
        }
        outcome.report["master"] = SignalJson(summary_.master);
        outcome.report["loudness"] = LoudnessJson(*loudness_);
        outcome.report["missing"] = MissingJson(missing_);
        outcome.report["notTakenOver"] = NotTakenOverJson(import_.report);
        outcome.text = HeadText(options_, grid_, samples) + MetersText(summary_) +
                       LoudnessText(*loudness_) + NotTakenOverText(import_.report);
        const long long* clipped = summary_.master.clippedBlocks;
        if (options_.failOnClip && (clipped[0] != 0 || clipped[1] != 0)) {
            outcome.Fail(ExitCode::ConditionFailed,
                         "the mix " + Quoted(options_.output) + " clips in " +
                             std::to_string(clipped[0]) + " blocks on the left and " +
                             std::to_string(clipped[1]) +
                             " on the right; lower the levels or the master level");
        }
        return outcome;
    }

    const GlobalOptions& global_;
    const MixOptions& options_;
    otio::TimelineImport import_;
    FrameGrid grid_;
    std::vector<std::string> trackNames_;
    std::vector<MediaUse> media_;
    std::vector<MediaUse> missing_;
    SampleSpan span_;
    MeterSummary summary_;
    std::optional<LoudnessMeter> loudness_;
};

Outcome MixMediaFile(const GlobalOptions& global, const MixOptions& options) {
    const std::string path = AbsolutePath(options.input);
    if (!options.meters.empty()) {
        throw UsageError("--meters needs a timeline: a media file has no tracks to meter");
    }
    CheckOutputs(options, {});
    project::Project project;
    std::vector<MediaUse> media{{{path, {}}, 0, {}, ImportMediaFile(project, path, 0)}};
    const std::shared_ptr<project::MediaAsset>& asset = media.front().asset;
    const FrameGrid grid{RateFor(global), FrameRateOf(*asset, global)};

    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    ConformAll(session, media, grid.rate, progress);
    const long long total = asset->AudioStream()->ConformedSampleCount();
    if (total == 0) throw JobError("the sound of " + Quoted(path) + " has no length");
    const SampleSpan span = ParseSpan(options.from, options.to, grid, total);

    WavWriter writer(options.output, grid.rate, span.end - span.begin);
    LoudnessMeter loudness(grid.rate);
    MixSink sink(writer, loudness);
    RenderMedia(*session.Engine()->Mixer(), asset, grid, span, sink, progress);
    writer.Finish();

    Outcome outcome;
    outcome.report = ReportHead(options, grid, false);
    outcome.report["output"] = options.output;
    outcome.report["samples"] = span.end - span.begin;
    outcome.report["loudness"] = LoudnessJson(loudness);
    outcome.text = HeadText(options, grid, span.end - span.begin) + LoudnessText(loudness);
    return outcome;
}

}  // namespace

Outcome RunMix(const GlobalOptions& global, const MixOptions& options) {
    if (otio::IsTimelinePath(options.input)) return TimelineMix(global, options).Run();
    return MixMediaFile(global, options);
}

}  // namespace orlo::host
