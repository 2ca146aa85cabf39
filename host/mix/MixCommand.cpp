// SPDX-License-Identifier: MIT
#include "host/mix/MixCommand.h"

#include <memory>
#include <optional>
#include <utility>

#include "host/manifest/UsedRanges.h"
#include "host/media/InputProtection.h"
#include "host/media/MixPreparation.h"
#include "host/media/ReadCheck.h"
#include "host/mix/MixOutputs.h"
#include "host/mix/MixPart.h"
#include "host/mix/MixRender.h"
#include "host/mix/MixReport.h"
#include "host/mix/MixSummary.h"
#include "host/mix/Normalization.h"
#include "host/mix/RaisedMedia.h"
#include "host/mix/TimelineMix.h"
#include "host/otio/TimelinePath.h"
#include "host/output/StandardOutput.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "host/timeline/Positions.h"
#include "host/timeline/UnusedSound.h"

namespace orlo::host {

namespace {

using sonrel::AudioMixer;

/// A media file has neither tracks nor nested items.
void RefuseTimelineOptions(const MixOptions& options) {
    const auto refuse = [](const char* option, const char* why) {
        throw UsageError(std::string(option) + " needs a timeline: a media file has no " + why);
    };
    if (!options.meters.empty()) refuse("--meters", "tracks to meter");
    if (options.stems) refuse("--stems", "tracks to write");
    if (options.composition) refuse("--composition", "nested items");
}

/// The samples of a media file never exceed full scale, so the condition is its true peak.
void FailOnTruePeak(const MixOptions& options, const LoudnessMeter& loudness, Outcome& outcome) {
    const std::optional<double> peak = loudness.TruePeakDb();
    if (!peak || *peak <= 0.0) return;
    outcome.Fail(ExitCode::ConditionFailed, "the mix " + Quoted(options.output) +
                                                " has a true peak of " + FormatNumber(*peak, 3) +
                                                " dBTP, above 0 dBTP; lower the level of " +
                                                Quoted(options.input));
}

/// Mixes a media file, stage by stage.
class MediaMix {
public:
    MediaMix(const GlobalOptions& global, const MixOptions& options)
        : global_(global),
          options_(options),
          path_(AbsolutePath(options.input)),
          outputs_(options, {}),
          recorder_(global, options.manifest, options.input),
          progress_(global.progress, global.quiet) {}

    RenderedMix Run() {
        RefuseTimelineOptions(options_);
        ClaimOutputs();
        const zrh::media::SoundChoice sound = options_.sound.Choice();
        media_ = {{{path_, {}}, sound, {}, ImportMediaFile(*project_, path_, sound), {}}};
        if (options_.NeedsManifest()) recorder_.Begin(media_);
        grid_ = {RateFor(global_), FrameRateOf(Asset(), global_)};
        const EngineSession session(global_);
        Prepare(session);
        Mix(*session.Engine()->Mixer());
        return {Report(), std::move(manifest_)};
    }

private:
    project::MediaAsset& Asset() const { return *media_.front().asset; }

    void ClaimOutputs() {
        if (options_.onlyManifest) return;
        ProtectCache(global_, outputs_.Guard());
        ProtectMediaInput(options_.input, outputs_.Guard());
        outputs_.Claim();
    }

    void Prepare(const EngineSession& session) {
        ConformAll(session, media_, grid_.rate, progress_);
        total_ = Asset().AudioStream()->ConformedSampleCount();
        if (total_ == 0) throw JobError("the sound of " + Quoted(path_) + " has no length");
        span_ = ParseSpan(options_.from, options_.to, grid_, total_);
    }

    /// Only a gain needs a mix; otherwise the samples are copied.
    bool HasGain() const { return options_.normalize || options_.gain; }

    void Mix(AudioMixer& mixer) {
        const MixRange range{grid_, span_, options_.jobs.Count(), {}};
        outputs_.Open(range);
        progress_.SetFile(options_.ProgressFile());
        loudness_.emplace(grid_.rate);
        MixSink sink(&outputs_.Sound(), &*loudness_);
        if (HasGain()) {
            normalization_ = RenderRaisedMedia(mixer, {project_, Asset(), range, total_, options_},
                                               sink, progress_);
        } else {
            RenderMedia(mixer, {media_.front().asset, grid_, span_}, sink, ReadCheck(mixer, grid_),
                        progress_);
        }
        if (options_.NeedsManifest()) WriteManifest();
        outputs_.Finish();
    }

    void WriteManifest() {
        MixResult result = outputs_.Result(grid_, span_, *loudness_, normalization_);
        if (!HasGain()) {
            result.values["dither"] = "none";
            result.values["seed"] = nullptr;
        }
        manifest_ = recorder_.Finish(
            options_.given, result, media_,
            [&](const MediaUse&) { return UsedRanges::OfSpan(span_, grid_.rate); }, progress_);
        outputs_.WriteManifest(manifest_);
    }

    Outcome Report() const {
        Outcome outcome;
        outcome.report = ReportHead(options_, grid_, false);
        outcome.report["output"] = options_.output;
        outcome.report["samples"] = span_.Count();
        outcome.report["loudness"] = LoudnessJson(*loudness_);
        if (normalization_) {
            outcome.report["normalization"] = NormalizationJson(*normalization_);
        }
        Summary summary;
        SummarizeMix(span_.Count(), *loudness_, nullptr, grid_, summary);
        const std::string unused = UnusedSoundOfInput(path_, options_.sound.Choice());
        if (!unused.empty()) {
            outcome.report["note"] = unused;
            summary.AddAttention(unused, CHOOSE_SOUND);
        }
        outcome.text = HeadText(options_.output, grid_, span_.Count()) + LoudnessText(*loudness_) +
                       NormalizationText(normalization_) + summary.Text();
        if (options_.failOnClip) FailOnTruePeak(options_, *loudness_, outcome);
        return outcome;
    }

    const GlobalOptions& global_;
    const MixOptions& options_;
    const std::string path_;
    MixOutputs outputs_;
    MixRecorder recorder_;
    Progress progress_;
    const std::shared_ptr<project::Project> project_ = std::make_shared<project::Project>();
    std::vector<MediaUse> media_;  ///< the file
    FrameGrid grid_;
    long long total_ = 0;  ///< samples of the file
    zrtl::FrameRange span_;
    std::optional<LoudnessMeter> loudness_;
    std::optional<Normalization> normalization_;
    Json manifest_;  ///< null without NeedsManifest
};

void CheckManifestOptions(const GlobalOptions& global, const MixOptions& options) {
    if (options.manifest.empty()) return;
    if (options.seed == 0) {
        throw UsageError(
            "--manifest cannot be combined with --seed random: the noise could not be repeated");
    }
    if (global.spool.hasStandardInput) {
        throw UsageError("--manifest needs a file as INPUT: standard input cannot be read again");
    }
}

void CheckOptions(const GlobalOptions& global, const MixOptions& options) {
    if (options.stems && options.composition) {
        throw UsageError(
            "--stems cannot be combined with --composition: a nested item has no stems");
    }
    if (options.gain && options.normalize) {
        throw UsageError("--gain cannot be combined with --normalize, which finds the gain");
    }
    if (options.truePeak && !options.normalize) {
        throw UsageError("--true-peak is the limit of --normalize; give both or none");
    }
    CheckPartOptions(options);
    CheckManifestOptions(global, options);
    if (WritesToStandardOutput(options)) CheckStandardOutput(global.json, "the sound");
}

RenderedMix Mix(const GlobalOptions& global, const MixOptions& options) {
    CheckSound(options.sound, {options.input});
    CheckOptions(global, options);
    return otio::IsTimelinePath(options.input) ? MixTimeline(global, options)
                                               : MediaMix(global, options).Run();
}

}  // namespace

Outcome RunMix(const GlobalOptions& global, const MixOptions& options) {
    Outcome outcome = Mix(global, options).outcome;
    if (!options.manifest.empty() && !outcome.report.Find("output")->IsNull()) {
        outcome.report["manifest"] = options.manifest;
    }
    outcome.textToStandardError = WritesToStandardOutput(options);
    return outcome;
}

Json RenderManifest(const GlobalOptions& global, MixOptions options) {
    options.onlyManifest = true;
    return Mix(global, options).manifest;
}

}  // namespace orlo::host
