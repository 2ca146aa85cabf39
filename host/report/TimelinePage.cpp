// SPDX-License-Identifier: MIT
#include <optional>
#include <utility>

#include "host/measure/LevelSummary.h"
#include "host/media/DuckedTracks.h"
#include "host/media/InputProtection.h"
#include "host/media/MixPreparation.h"
#include "host/process/Cores.h"
#include "host/report/PageEntries.h"
#include "host/report/PageLanes.h"
#include "host/report/PageMaker.h"
#include "host/shell/Text.h"
#include "host/timeline/ClipTexts.h"
#include "host/timeline/MediaComparison.h"
#include "host/timeline/NestedChoice.h"
#include "host/timeline/SoundingTracks.h"
#include "host/timeline/Strictness.h"
#include "host/timeline/TimelineSummary.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

/// Makes the page of a timeline, or of one of its nested items, stage by stage.
class TimelinePage : public PageMaker {
public:
    TimelinePage(const GlobalOptions& global, const ReportOptions& options)
        : global_(global),
          options_(options),
          import_(ReadTimeline(options.input, global, {options.audioFrom})),
          nested_(FindComposition(import_.arrangement, options.input, options.composition)),
          grid_(GridOf(import_.arrangement)),
          media_(CollectMedia(Tracks())),
          missing_(MissingMedia(media_)) {
        // A nested item is shown from its first frame, whose timecode is 0.
        if (nested_ != nullptr) grid_.startFrame = 0;
        const long long total = zrtl::TotalSamples(FrameCount(), grid_.rate, grid_.EngineRate());
        if (total > 0) span_ = ParseSpan(options.from, options.to, grid_, total);
    }

    void Protect(OutputGuard& guard) const override {
        ProtectTimeline(options_.input, import_, guard);
    }

    ReportPage Make(const EngineSession& session, Progress& progress) override {
        ImportMedia(*project_, media_, AvailableCores());
        ConformAll(session, media_, grid_.rate, progress);
        const MediaSounds sounds = SoundsOf(media_);
        clips_ = CompareWithMedia(Tracks(), FrameCount(), grid_, sounds, import_.report);
        peaks_ = FindPeaks(session, media_, progress);
        if (!span_.IsEmpty()) Measure(*session.Engine()->Mixer(), progress);
        return Collect(sounds);
    }

    void Report(const ReportPage& page, Outcome& outcome) const override {
        outcome.report["kind"] = "timeline";
        outcome.report["name"] = page.title;
        outcome.report["audioFrom"] = AudioFromName(import_.soundKind);
        ReportLevels(page, levels_ ? &*levels_ : nullptr, outcome);
        outcome.report["missing"] = MissingJson(missing_);
        outcome.report["notTakenOver"] = NotTakenOverJson(import_.report);
        outcome.text += NotTakenOverText(import_.report) + MakeSummary().Text();
        if (!missing_.empty() && !global_.allowMissing) {
            outcome.Fail(
                ExitCode::ConditionFailed,
                "the report is written, and " + MissingMediaClause(options_.input, missing_));
        } else if (options_.strict) {
            FailOnEntries(options_.input, import_.report, "the report is written, and ", outcome);
        }
    }

private:
    /// The tracks that are shown.
    const std::vector<otio::PlacedTrack>& Tracks() const {
        return nested_ != nullptr ? nested_->composition->tracks : import_.arrangement.tracks;
    }

    int FrameCount() const {
        return nested_ != nullptr ? nested_->composition->frameCount
                                  : import_.arrangement.frameCount;
    }

    void Measure(sonrel::AudioMixer& mixer, Progress& progress) {
        progress.SetFile(options_.output);
        std::shared_ptr<project::CompositionAsset> composition;
        if (nested_ == nullptr) {
            BuildSequence(import_.arrangement, media_, *project_);
            DuckTracks(import_.arrangement, grid_, project_, progress);
        } else {
            composition =
                BuildComposition(import_.arrangement, *nested_->composition, media_, *project_);
        }
        levels_ = MeasureMix(mixer, {project_, composition}, grid_, span_, progress);
    }

    ReportPage Collect(const MediaSounds& sounds) const {
        ReportPage page;
        page.title = nested_ != nullptr ? nested_->name : import_.name;
        page.grid = grid_;
        page.from = static_cast<double>(span_.start) / grid_.rate;
        page.duration = static_cast<double>(span_.Count()) / grid_.rate;
        page.info = InfoOf(page);
        page.summary = MakeSummary().Rows();
        PageLanes lanes({grid_, page.from, page.from + page.duration}, sounds);
        if (nested_ != nullptr) {
            lanes.AddNested(*nested_);
        } else {
            lanes.AddTimeline(import_);
        }
        page.entries = PageEntries(import_.report, [&](const otio::SourceLocation& place) {
            return lanes.ElementOf(place);
        });
        page.lanes = std::move(lanes.Lanes());
        AddWaves(peaks_.sounds, grid_.EngineRate(), page.lanes);
        if (levels_) ShowLevels(*levels_, page);
        return page;
    }

    std::vector<std::pair<std::string, std::string>> InfoOf(const ReportPage& page) const {
        return {{"Timeline", options_.input},
                {"Length", FormatDuration(page.duration)},
                {"From", FormatTimecode(span_.start, grid_)},
                {"To", FormatTimecode(span_.end, grid_)},
                {"Frame rate", FormatNumber(grid_.fps, 6)},
                {"Sample rate", std::to_string(grid_.rate) + " Hz"},
                {"Tracks", std::to_string(import_.allTracks.size())},
                {"Clips", std::to_string(clips_.Clips())}};
    }

    Summary MakeSummary() const {
        Summary summary;
        SummarizeTimeline(Tracks(), clips_, import_.report, summary);
        if (levels_) {
            const SignalSummary master = levels_->Summary(span_.start);
            SummarizeLevels(levels_->loudness, &master, grid_, summary);
        }
        SummarizeWaves(peaks_, summary);
        return summary;
    }

    const GlobalOptions& global_;
    const ReportOptions& options_;
    otio::TimelineImport import_;
    const otio::PlacedClip* nested_;  ///< the item that is shown; null for the timeline itself
    FrameGrid grid_;
    std::vector<MediaUse> media_;
    std::vector<MediaUse> missing_;
    zrtl::FrameRange span_;  ///< empty for a timeline without length
    std::shared_ptr<project::Project> project_ = std::make_shared<project::Project>();
    ClipTally clips_;
    FoundPeaks peaks_;
    std::optional<MasterLevels> levels_;
};

}  // namespace

std::unique_ptr<PageMaker> OpenTimelinePage(const GlobalOptions& global,
                                            const ReportOptions& options) {
    return std::make_unique<TimelinePage>(global, options);
}

}  // namespace orlo::host
