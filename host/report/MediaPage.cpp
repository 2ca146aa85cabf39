// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <utility>

#include "host/measure/LevelSummary.h"
#include "host/media/InputProtection.h"
#include "host/media/MixPreparation.h"
#include "host/report/PageMaker.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/UnusedSound.h"

namespace orlo::host {

namespace {

/// Makes the page of a media file: one lane with one clip.
class MediaPage : public PageMaker {
public:
    MediaPage(const GlobalOptions& global, const ReportOptions& options)
        : options_(options), path_(AbsolutePath(options.input)) {
        const zrh::media::SoundChoice sound = options.sound.Choice();
        media_.push_back({{path_, {}}, sound, {}, ImportMediaFile(project_, path_, sound), {}});
        grid_ = {RateFor(global), FrameRateOf(Asset(), global)};
    }

    void Protect(OutputGuard& guard) const override { ProtectMediaInput(options_.input, guard); }

    ReportPage Make(const EngineSession& session, Progress& progress) override {
        ConformAll(session, media_, grid_.rate, progress);
        const long long total = Asset().AudioStream()->ConformedSampleCount();
        if (total == 0) throw JobError("the sound of " + Quoted(path_) + " has no length");
        const zrtl::FrameRange span = ParseSpan(options_.from, options_.to, grid_, total);
        peaks_ = FindPeaks(session, media_, progress);
        progress.SetFile(options_.output);
        levels_ =
            MeasureMedia(*session.Engine()->Mixer(), media_.front().asset, grid_, span, progress);
        return Collect(span, total);
    }

    void Report(const ReportPage& page, Outcome& outcome) const override {
        outcome.report["kind"] = "media";
        outcome.report["name"] = page.title;
        ReportLevels(page, &*levels_, outcome);
        outcome.report["missing"] = Json::Array();
        outcome.report["notTakenOver"] = Json::Array();
        outcome.text += MakeSummary().Text();
    }

private:
    const project::MediaAsset& Asset() const { return *media_.front().asset; }

    ReportPage Collect(const zrtl::FrameRange& span, long long total) const {
        ReportPage page;
        page.title = std::filesystem::path(path_).filename().string();
        page.grid = grid_;
        page.from = static_cast<double>(span.start) / grid_.rate;
        page.duration = static_cast<double>(span.Count()) / grid_.rate;
        page.info = {{"Media file", options_.input},
                     {"Length", FormatDuration(page.duration)},
                     {"From", FormatTimecode(span.start, grid_)},
                     {"To", FormatTimecode(span.end, grid_)},
                     {"Frame rate", FormatNumber(grid_.fps, 6)},
                     {"Sample rate", std::to_string(grid_.rate) + " Hz"}};
        page.summary = MakeSummary().Rows();
        page.lanes.push_back(LaneOf(page, static_cast<double>(total) / grid_.rate));
        ShowLevels(*levels_, page);
        return page;
    }

    PageLane LaneOf(const ReportPage& page, double seconds) const {
        PageClip clip;
        clip.id = "p2";
        clip.name = page.title;
        clip.details = {path_};
        clip.start = -page.from;
        clip.end = seconds - page.from;
        if (!peaks_.sounds.empty()) {
            const double points = std::ceil(seconds * MAX_POINTS_PER_SECOND);
            clip.wave = ReadEnvelope(peaks_.sounds.begin()->second, 0.0, seconds,
                                     static_cast<int>(std::min(points, 1.0 * MAX_WAVE_POINTS)));
        }
        PageLane lane;
        lane.id = "p1";
        lane.name = "sound";
        lane.clips.push_back(std::move(clip));
        return lane;
    }

    Summary MakeSummary() const {
        Summary summary;
        SummarizeLevels(levels_->loudness, nullptr, grid_, summary);
        SummarizeWaves(peaks_, summary);
        const std::string unused = UnusedSoundOfInput(path_, options_.sound.Choice());
        if (!unused.empty()) summary.AddAttention(unused, CHOOSE_SOUND);
        return summary;
    }

    const ReportOptions& options_;
    const std::string path_;
    project::Project project_;
    std::vector<MediaUse> media_;
    FrameGrid grid_;
    FoundPeaks peaks_;
    std::optional<MasterLevels> levels_;
};

}  // namespace

std::unique_ptr<PageMaker> OpenMediaPage(const GlobalOptions& global,
                                         const ReportOptions& options) {
    if (options.composition) {
        throw UsageError("--composition needs a timeline: a media file has no nested items");
    }
    return std::make_unique<MediaPage>(global, options);
}

}  // namespace orlo::host
