// SPDX-License-Identifier: MIT
#include "host/mix/MixCommand.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "host/media/DuckedTracks.h"
#include "host/media/InputProtection.h"
#include "host/media/MixPreparation.h"
#include "host/media/ReadCheck.h"
#include "host/mix/Loudness.h"
#include "host/mix/MixPart.h"
#include "host/mix/MixRender.h"
#include "host/mix/MixReport.h"
#include "host/mix/MixSummary.h"
#include "host/mix/Normalization.h"
#include "host/mix/RaisedMedia.h"
#include "host/mix/Stems.h"
#include "host/otio/TimelinePath.h"
#include "host/output/OutputFile.h"
#include "host/output/OutputName.h"
#include "host/output/SoundFormat.h"
#include "host/output/SoundWriter.h"
#include "host/output/WavStream.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "host/timeline/MediaComparison.h"
#include "host/timeline/Positions.h"
#include "host/timeline/SoundingTracks.h"
#include "host/timeline/Strictness.h"
#include "host/timeline/TimelineSummary.h"
#include "host/timeline/UnusedSound.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

using sonrel::AudioMixer;

Json PartJson(const PartChoice& part) {
    return Json::Object({{"number", part.number}, {"count", part.count}});
}

/// The keys of every mix, with their values before mixing.
Json ReportHead(const MixOptions& options, const FrameGrid& grid, bool isTimeline) {
    const bool hasDither = isTimeline || options.normalize || options.gain;
    Json report;
    report["output"] = nullptr;
    if (options.composition) report["composition"] = *options.composition;
    if (options.part) report["part"] = PartJson(*options.part);
    if (options.stems) report["stems"] = Json::Array();
    report["rate"] = grid.rate;
    report["fps"] = grid.fps;
    report["grid"] = grid.factor;
    report["samples"] = 0;
    report["dither"] = hasDither ? DitherName(options.dither) : "none";
    report["seed"] = nullptr;
    if (hasDither) report["seed"] = options.seed == 0 ? Json("random") : Json(options.seed);
    if (isTimeline) report["tracks"] = Json::Array();
    report["master"] = nullptr;
    report["loudness"] = Json::Object({{"integrated", nullptr}, {"truePeak", nullptr}});
    report["missing"] = Json::Array();
    report["notTakenOver"] = Json::Array();
    return report;
}

bool WritesToStandardOutput(const MixOptions& options) {
    return options.output == STANDARD_OUTPUT;
}

void ClaimSound(const MixOptions& options, OutputGuard& guard) {
    if (WritesToStandardOutput(options)) return guard.ClaimStandardOutput();
    guard.Claim(options.output);
    RequireExtension(options.output, SoundExtensions());
}

/// The nested item that --composition names; null without --composition.
const otio::PlacedClip* WantedComposition(const otio::Arrangement& arrangement,
                                          const MixOptions& options) {
    if (!options.composition) return nullptr;
    const otio::PlacedClip* item = otio::FindNested(arrangement.tracks, *options.composition);
    if (item == nullptr) {
        throw UsageError("the timeline " + Quoted(options.input) + " has no nested item " +
                         Quoted(*options.composition) + "; 'sonrel info' lists their names");
    }
    return item;
}

/// Mixes a timeline, or one of its nested items, stage by stage.
class TimelineMix {
public:
    TimelineMix(const GlobalOptions& global, const MixOptions& options)
        : global_(global),
          options_(options),
          import_(ReadTimeline(options.input, global, {options.audioFrom, options.retime})),
          grid_(GridOf(import_.arrangement)),
          nested_(WantedComposition(import_.arrangement, options)),
          media_(CollectMedia(nested_ != nullptr ? nested_->composition->tracks
                                                 : import_.arrangement.tracks)),
          missing_(MissingMedia(media_)),
          guard_(options.overwrite),
          progress_(global.progress, global.quiet) {
        // A nested item is mixed from its first frame, whose timecode is 0.
        if (nested_ != nullptr) grid_.startFrame = 0;
        // A composition has no tracks to meter or to write.
        if (nested_ == nullptr) trackNames_ = TrackNames(import_.arrangement);
        if (options.stems) stemPaths_ = StemPaths(*options.stems, trackNames_);
    }

    Outcome Run() {
        const long long total = zrtl::TotalSamples(FrameCount(), grid_.rate, grid_.EngineRate());
        if (total == 0) RefuseEmpty();
        span_ = ParseSpan(options_.from, options_.to, grid_, total);
        if (options_.part) RequireBlocks(MixBlocks(Range()), *options_.part);
        ClaimOutputs();
        if (!missing_.empty() && !global_.allowMissing) return RefuseMissing();
        ImportMedia(*project_, media_);
        // With --strict no output is opened before all entries are known: bytes in a pipe cannot be
        // removed.
        if (options_.strict) {
            PrepareMedia();
            if (!import_.report.IsEmpty()) return RefuseEntries();
        }
        Mix();
        return Report();
    }

private:
    [[noreturn]] void RefuseEmpty() const {
        if (nested_ == nullptr) RefuseEmptyTimeline(options_.input, import_, "mix");
        throw JobError("the nested item " + Quoted(nested_->name) +
                       " has no length: there is nothing to mix");
    }

    void ClaimOutputs() {
        ProtectCache(global_, guard_);
        ProtectTimeline(options_.input, import_, guard_);
        ClaimSound(options_, guard_);
        if (!options_.meters.empty()) guard_.Claim(options_.meters);
        for (const std::string& stem : stemPaths_) guard_.Claim(stem);
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
        Outcome outcome = Refused();
        outcome.Fail(ExitCode::ConditionFailed,
                     "nothing was written: " + MissingMediaClause(options_.input, missing_));
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

    std::unique_ptr<SoundWriter> OpenWriter() {
        const long long samples = MixBlocks(Range()).PartSpan().Count();
        if (!options_.part) {
            return OpenSoundWriter(options_.output, guard_, grid_.rate, samples);
        }
        auto part = std::make_unique<PartWriter>(options_.output, guard_, grid_.rate, samples);
        part_ = part.get();
        return part;
    }

    void Mix() {
        const auto writer = OpenWriter();
        std::optional<OutputFile> meters;
        if (!options_.meters.empty()) meters.emplace(options_.meters, guard_);
        std::optional<Stems> stems;
        if (options_.stems) stems.emplace(*options_.stems, stemPaths_, guard_, grid_, span_);

        PrepareMedia();
        progress_.SetFile(options_.output);

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
        MixSink sink(writer.get(), &*loudness_);
        MixGroups groups{{&mixer, {{source, &sink}}}};
        if (stems) {
            groups.push_back(stems->Begin(project_, EngineDither(options_.dither), options_.seed));
        }
        RenderFrames(groups, range, progress_);
        mixer.StopMeterSession();

        summary_ = Summarize(BlocksOf(mixer), trackNames_, span_.start);
        if (meters) {
            Json document = MetersJson(BlocksOf(mixer), trackNames_, grid_.rate,
                                       MeterBlockFrames(grid_.rate), span_.start);
            document["loudness"] = LoudnessBlocksJson(*loudness_);
            meters->Write(document.ToLine() + "\n");
        }
        if (part_ != nullptr) {
            part_->Describe(
                ManifestOf({options_, grid_, span_, trackNames_, media_}, MixBlocks(range), mixer));
        }
        // Every output is complete on the disk before the first output is renamed to its name.
        writer->Seal();
        if (meters) meters->Seal();
        if (stems) stems->Seal();
        if (Interrupted()) ThrowInterrupted("nothing was written");
        writer->Finish();
        if (meters) meters->Commit();
        if (stems) stems->Finish();
    }

    Outcome Report() {
        Outcome outcome = NewOutcome();
        const long long samples = MixBlocks(Range()).PartSpan().Count();
        outcome.report["output"] = options_.output;
        outcome.report["samples"] = samples;
        if (options_.stems) outcome.report["stems"] = stemPaths_;
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
        for (const std::string& path : stemPaths_) text += "  stem " + OneLine(path) + "\n";
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
    std::vector<std::string> stemPaths_;
    OutputGuard guard_;
    zrtl::FrameRange span_;
    MeterSummary summary_;
    ClipTally clips_;
    std::optional<LoudnessMeter> loudness_;
    SetGain setGain_;
    std::optional<Normalization> normalization_;
    PartWriter* part_ = nullptr;  ///< the writer of a part
    Progress progress_;
    std::shared_ptr<project::Project> project_ = std::make_shared<project::Project>();
    std::optional<EngineSession> session_;  ///< set once the media files are prepared
};

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

Outcome MixMediaFile(const GlobalOptions& global, const MixOptions& options) {
    const std::string path = AbsolutePath(options.input);
    RefuseTimelineOptions(options);
    OutputGuard guard(options.overwrite);
    ProtectCache(global, guard);
    ProtectMediaInput(options.input, guard);
    ClaimSound(options, guard);
    const auto project = std::make_shared<project::Project>();
    const zrh::media::SoundChoice sound = options.sound.Choice();
    std::vector<MediaUse> media{
        {{path, {}}, sound, {}, ImportMediaFile(*project, path, sound), {}}};
    const std::shared_ptr<project::MediaAsset>& asset = media.front().asset;
    const FrameGrid grid{RateFor(global), FrameRateOf(*asset, global)};

    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    ConformAll(session, media, grid.rate, progress);
    progress.SetFile(options.output);
    const long long total = asset->AudioStream()->ConformedSampleCount();
    if (total == 0) throw JobError("the sound of " + Quoted(path) + " has no length");
    const zrtl::FrameRange span = ParseSpan(options.from, options.to, grid, total);

    const auto writer = OpenSoundWriter(options.output, guard, grid.rate, span.Count());
    LoudnessMeter loudness(grid.rate);
    MixSink sink(writer.get(), &loudness);
    AudioMixer& mixer = *session.Engine()->Mixer();
    std::optional<Normalization> normalization;
    if (options.normalize || options.gain) {
        normalization =
            RenderRaisedMedia(mixer, project, *asset, {grid, span, options.jobs.Count(), {}}, total,
                              options, sink, progress);
    } else {
        RenderMedia(mixer, asset, grid, span, sink, ReadCheck(mixer, grid), progress);
    }
    writer->Finish();

    Outcome outcome;
    outcome.report = ReportHead(options, grid, false);
    outcome.report["output"] = options.output;
    outcome.report["samples"] = span.Count();
    outcome.report["loudness"] = LoudnessJson(loudness);
    if (normalization) outcome.report["normalization"] = NormalizationJson(*normalization);
    Summary summary;
    SummarizeMix(span.Count(), loudness, nullptr, grid, summary);
    const std::string unused = UnusedSoundOfInput(path, sound);
    if (!unused.empty()) {
        outcome.report["note"] = unused;
        summary.AddAttention(unused, CHOOSE_SOUND);
    }
    outcome.text = HeadText(options.output, grid, span.Count()) + LoudnessText(loudness) +
                   NormalizationText(normalization) + summary.Text();
    if (options.failOnClip) FailOnTruePeak(options, loudness, outcome);
    return outcome;
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
    if (!WritesToStandardOutput(options)) return;
    if (global.json) {
        throw UsageError(
            "--json prints to standard output, where -o - writes the sound; leave out "
            "one of them");
    }
    CheckStandardOutput();
}

}  // namespace

Outcome RunMix(const GlobalOptions& global, const MixOptions& options) {
    CheckSound(options.sound, {options.input});
    CheckOptions(global, options);
    Outcome outcome = otio::IsTimelinePath(options.input) ? TimelineMix(global, options).Run()
                                                          : MixMediaFile(global, options);
    outcome.textToStandardError = WritesToStandardOutput(options);
    return outcome;
}

}  // namespace orlo::host
