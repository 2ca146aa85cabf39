// SPDX-License-Identifier: MIT
#include "host/mix/TimelineMix.h"

#include <memory>
#include <optional>
#include <utility>

#include "host/manifest/UsedRanges.h"
#include "host/media/DuckedTracks.h"
#include "host/media/InputProtection.h"
#include "host/media/MixPreparation.h"
#include "host/mix/MixOutputs.h"
#include "host/mix/MixPart.h"
#include "host/mix/MixRender.h"
#include "host/mix/MixReport.h"
#include "host/mix/MixSummary.h"
#include "host/mix/Normalization.h"
#include "host/shell/Text.h"
#include "host/source/TimelineSource.h"
#include "host/timeline/Input.h"
#include "host/timeline/MediaComparison.h"
#include "host/timeline/NestedChoice.h"
#include "host/timeline/Positions.h"
#include "host/timeline/SoundingTracks.h"
#include "host/timeline/Strictness.h"
#include "host/timeline/TimelineSummary.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

using sonrel::AudioMixer;

/// Mixes a timeline, or one of its nested items, stage by stage.
class TimelineMix {
public:
    TimelineMix(const GlobalOptions& global, const MixOptions& options)
        : global_(global),
          options_(options),
          import_(ReadTimeline(options.input, global, {options.audioFrom, options.retime})),
          grid_(GridOf(import_.arrangement)),
          nested_(FindComposition(import_.arrangement, options.input, options.composition)),
          media_(CollectMedia(nested_ != nullptr ? nested_->composition->tracks
                                                 : import_.arrangement.tracks)),
          missing_(MissingMedia(media_)),
          // A composition has no tracks to meter or to write.
          trackNames_(nested_ == nullptr ? TrackNames(import_.arrangement)
                                         : std::vector<std::string>()),
          outputs_(options, trackNames_),
          recorder_(global, options.manifest, options.input),
          progress_(global.progress, global.quiet) {
        // A nested item is mixed from its first frame, whose timecode is 0.
        if (nested_ != nullptr) grid_.startFrame = 0;
    }

    RenderedMix Run() {
        const long long total = zrtl::TotalSamples(FrameCount(), grid_.rate, grid_.EngineRate());
        if (total == 0) RefuseEmpty();
        span_ = ParseSpan(options_.from, options_.to, grid_, total);
        if (options_.part) RequireBlocks(MixBlocks(Range()), *options_.part);
        ClaimOutputs();
        if (!missing_.empty() && !global_.allowMissing) return {RefuseMissing(), {}};
        if (options_.NeedsManifest()) recorder_.Begin(media_);
        ImportMedia(*project_, media_, options_.jobs.Count());
        // With --strict no output is opened before all entries are known: bytes in a pipe cannot be
        // removed.
        if (options_.strict) {
            PrepareMedia();
            if (!import_.report.IsEmpty()) return {RefuseEntries(), {}};
        }
        Mix();
        return {Report(), std::move(manifest_)};
    }

private:
    [[noreturn]] void RefuseEmpty() const {
        if (nested_ == nullptr) RefuseEmptyTimeline(options_.input, import_, "mix");
        throw JobError("the nested item " + Quoted(nested_->name) +
                       " has no length: there is nothing to mix");
    }

    void ClaimOutputs() {
        if (options_.onlyManifest) return;
        ProtectCache(global_, outputs_.Guard());
        ProtectTimeline(options_.input, import_, outputs_.Guard());
        outputs_.Claim();
    }

    Outcome NewOutcome() const {
        Outcome outcome;
        outcome.report = ReportHead(options_, grid_, true);
        outcome.report["audioFrom"] = AudioFromName(import_.soundKind);
        return outcome;
    }

    /// The result of a mix that was not written.
    Outcome Refused() {
        Outcome outcome = NewOutcome();
        for (const std::string& name : trackNames_) {
            outcome.report["tracks"].Append(SignalJson({name, {}, {}, {}}, grid_));
        }
        outcome.report["missing"] = MissingJson(missing_);
        outcome.report["notTakenOver"] = NotTakenOverJson(import_.report);
        return outcome;
    }

    Outcome RefuseMissing() {
        const std::string clause = MissingMediaClause(options_.input, missing_);
        if (options_.onlyManifest) throw JobError(clause);
        Outcome outcome = Refused();
        outcome.Fail(ExitCode::ConditionFailed, "nothing was written: " + clause);
        return outcome;
    }

    Outcome RefuseEntries() {
        Outcome outcome = Refused();
        Summary summary;
        SummarizeTimeline(Tracks(), clips_, import_.report, summary);
        outcome.text = NotTakenOverText(import_.report) + summary.Text();
        FailOnEntries(options_.input, import_.report, "nothing was written: ", outcome);
        return outcome;
    }

    /// Conforms the media files and compares the clips with them, once.
    void PrepareMedia() {
        if (session_) return;
        session_.emplace(global_);
        ConformAll(*session_, media_, grid_.rate, progress_);
        clips_ = CompareWithMedia(Tracks(), FrameCount(), grid_, SoundsOf(media_), import_.report);
    }

    /// The tracks that are mixed.
    const std::vector<otio::PlacedTrack>& Tracks() const {
        return nested_ != nullptr ? nested_->composition->tracks : import_.arrangement.tracks;
    }

    int FrameCount() const {
        return nested_ != nullptr ? nested_->composition->frameCount
                                  : import_.arrangement.frameCount;
    }

    MixSource BuildSource() {
        if (nested_ == nullptr) {
            BuildSequence(import_.arrangement, media_, *project_);
            DuckTracks(import_.arrangement, grid_, project_, progress_);
            setGain_ = GainOfSequence(project_->Sequence(), import_.arrangement.masterLevel);
            return {project_, project_->Sequence()};
        }
        const auto composition =
            BuildComposition(import_.arrangement, *nested_->composition, media_, *project_);
        setGain_ = GainOfComposition(composition, *nested_->composition);
        return {project_, composition};
    }

    /// The whole mix, or the part of it that is mixed.
    MixRange Range() const {
        return {grid_, span_, options_.jobs.Count(), options_.part.value_or(PartChoice())};
    }

    void Mix() {
        outputs_.Open(Range());
        PrepareMedia();
        progress_.SetFile(options_.ProgressFile());

        AudioMixer& mixer = *session_->Engine()->Mixer();
        const MixSource source = BuildSource();
        const MixRange range = Range();
        if (options_.gain) setGain_(*options_.gain);
        if (options_.normalize) {
            normalization_ = Normalize({mixer, source, setGain_, range, trackNames_.size()},
                                       options_, progress_);
        }
        StartMix(mixer, options_, trackNames_.size(), grid_);
        loudness_.emplace(grid_.rate);
        MixSink sink(&outputs_.Sound(), &*loudness_);
        MixGroups groups{{&mixer, {{source, &sink}}}};
        if (Stems* stems = outputs_.StemFiles()) {
            groups.push_back(stems->Begin(project_, EngineDither(options_.dither), options_.seed));
        }
        RenderFrames(groups, range, progress_);
        mixer.StopMeterSession();

        summary_ = Summarize(BlocksOf(mixer), trackNames_, span_.start);
        Describe(mixer);
        outputs_.Finish();
    }

    /// Writes the outputs that describe the mix.
    void Describe(const AudioMixer& mixer) {
        if (outputs_.HasMeters()) {
            Json document = MetersJson(BlocksOf(mixer), trackNames_, grid_.rate,
                                       MeterBlockFrames(grid_.rate), span_.start);
            document["loudness"] = LoudnessBlocksJson(*loudness_);
            outputs_.WriteMeters(document);
        }
        if (PartWriter* part = outputs_.Part()) {
            const std::string document = DocumentOf(options_.input, global_);
            part->Describe(ManifestOf({options_, document, grid_, span_, trackNames_, media_},
                                      MixBlocks(Range()), mixer));
        }
        if (!options_.NeedsManifest()) return;
        const UsedRanges ranges(Tracks(), grid_, span_);
        manifest_ = recorder_.Finish(
            options_.given, Result(), media_,
            [&](const MediaUse& use) { return ranges.Of(use.location.path, use.sound); },
            progress_);
        outputs_.WriteManifest(manifest_);
    }

    MixResult Result() const {
        MixResult result = outputs_.Result(grid_, span_, *loudness_, normalization_);
        for (const SignalSummary& track : summary_.tracks) {
            result.tracks.Append(SignalJson(track, grid_));
        }
        result.master = SignalJson(summary_.master, grid_);
        return result;
    }

    Outcome Report() {
        Outcome outcome = NewOutcome();
        const long long samples = MixBlocks(Range()).PartSpan().Count();
        outcome.report["output"] = options_.output;
        outcome.report["samples"] = samples;
        if (options_.stems) outcome.report["stems"] = outputs_.StemPaths();
        for (const SignalSummary& track : summary_.tracks) {
            outcome.report["tracks"].Append(SignalJson(track, grid_));
        }
        outcome.report["master"] = SignalJson(summary_.master, grid_);
        outcome.report["loudness"] = LoudnessJson(*loudness_);
        if (normalization_) outcome.report["normalization"] = NormalizationJson(*normalization_);
        outcome.report["missing"] = MissingJson(missing_);
        outcome.report["notTakenOver"] = NotTakenOverJson(import_.report);
        outcome.text = HeadText(options_.output, grid_, samples) + MetersText(summary_, grid_) +
                       LoudnessText(*loudness_) + NormalizationText(normalization_) + StemsText() +
                       NotTakenOverText(import_.report) + SummaryText();
        if (options_.failOnClip) FailOnClip(options_.output, summary_, grid_, outcome);
        return outcome;
    }

    std::string SummaryText() const {
        Summary summary;
        const long long samples = MixBlocks(Range()).PartSpan().Count();
        SummarizeMix(samples, *loudness_, &summary_, grid_, summary);
        SummarizeTimeline(Tracks(), clips_, import_.report, summary);
        return summary.Text();
    }

    std::string StemsText() const {
        std::string text;
        for (const std::string& path : outputs_.StemPaths()) {
            text += "  stem " + OneLine(path) + "\n";
        }
        return text;
    }

    const GlobalOptions& global_;
    const MixOptions& options_;
    otio::TimelineImport import_;
    FrameGrid grid_;
    const otio::PlacedClip* nested_;  ///< the item that is mixed; null for the timeline itself
    std::vector<MediaUse> media_;
    std::vector<MediaUse> missing_;
    std::vector<std::string> trackNames_;
    MixOutputs outputs_;
    MixRecorder recorder_;
    zrtl::FrameRange span_;
    MeterSummary summary_;
    ClipTally clips_;
    std::optional<LoudnessMeter> loudness_;
    SetGain setGain_;
    std::optional<Normalization> normalization_;
    Json manifest_;  ///< null without NeedsManifest
    Progress progress_;
    std::shared_ptr<project::Project> project_ = std::make_shared<project::Project>();
    std::optional<EngineSession> session_;  ///< set once the media files are prepared
};

}  // namespace

RenderedMix MixTimeline(const GlobalOptions& global, const MixOptions& options) {
    return TimelineMix(global, options).Run();
}

}  // namespace orlo::host
