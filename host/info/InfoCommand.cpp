// SPDX-License-Identifier: MIT
#include "host/info/InfoCommand.h"

#include <map>
#include <set>

#include "host/info/MediaReport.h"
#include "host/info/TakenSound.h"
#include "host/info/TimelineTree.h"
#include "host/otio/TimelinePath.h"
#include "host/shell/Paths.h"
#include "host/shell/Summary.h"
#include "host/shell/Text.h"
#include "host/timeline/ClipTexts.h"
#include "host/timeline/Input.h"
#include "host/timeline/MediaCatalog.h"
#include "host/timeline/MediaComparison.h"
#include "host/timeline/SoundingTracks.h"
#include "host/timeline/Strictness.h"
#include "host/timeline/TimelineSummary.h"
#include "host/timeline/UnreadPictures.h"
#include "host/timeline/UnusedSound.h"
#include "sonrel/base/Timing.h"
#include "sonrel/media/MediaInfo.h"

namespace orlo::host {

namespace {

using zrh::media::MediaInfo;
using zrh::media::MediaStreamInfo;
using zrh::media::MediaStreamKind;

constexpr double DEFAULT_FPS = 25.0;

std::string RatesText(const FrameGrid& grid, double frames) {
    const std::string factor =
        grid.factor == 1 ? "" : " on a grid of " + std::to_string(grid.factor);
    return std::to_string(grid.rate) + " Hz, " + FormatNumber(grid.fps, 6) + " frames a second" +
           factor + ", " + FormatNumber(frames, 3) + " frames (" +
           FormatDuration(frames / grid.fps) + ")\n";
}

/// The sound that a clip uses.
MediaSound SoundOf(const MediaInfo& info, const zrh::media::SoundChoice& sound) {
    const SoundFit fit = FitOf(info, sound);
    if (!fit.silence.empty()) return {0.0, fit};
    zrh::media::SoundChoice resolved;
    const bool isResolved = zrh::media::ResolveSound(info, sound, &resolved) == 0;
    const MediaStreamInfo* stream =
        FindStream(info, MediaStreamKind::Audio, isResolved ? resolved.Stream() : 0);
    if (stream == nullptr) return {0.0, fit};
    if (stream->error == 0) return {StreamSeconds(*stream), fit};
    return {0.0, {"its sound cannot be read: " + stream->reason, {}}};
}

/// The media files of a timeline.
struct DescribedMedia {
    explicit DescribedMedia(MediaCatalog& catalog) : report(catalog) {}

    MediaReport report;
    MediaSounds sounds;
    TakenSounds taken;
    std::string problem;  ///< the first fault; empty when there is none
};

/// Adds a file that cannot be read.
void AddUnread(const MediaUse& use, const std::string& problem, DescribedMedia& described) {
    const SoundFit fit = FitOfUnreadPicture(use, problem);
    if (fit.isUnread) {
        described.sounds[{use.location.path, use.sound}] = {0.0, fit};
    } else if (described.problem.empty()) {
        described.problem = problem;
    }
}

/// Describes each file of a timeline once.
DescribedMedia DescribeAll(const std::vector<MediaUse>& media, const std::vector<MediaUse>& missing,
                           MediaCatalog& catalog) {
    DescribedMedia described(catalog);
    std::set<std::string> missingPaths;
    for (const MediaUse& use : missing) missingPaths.insert(use.location.path);
    std::map<std::string, std::vector<zrh::media::SoundChoice>> used;
    for (const MediaUse& use : media) used[use.location.path].push_back(use.sound);
    std::set<std::string> known;
    for (const MediaUse& use : media) {
        const std::string& path = use.location.path;
        if (missingPaths.contains(path)) {
            described.sounds[{path, use.sound}] = {0.0, {MISSING_MEDIA_REASON, {}}};
            continue;
        }
        if (known.insert(path).second) {
            described.report.Add(path, used[path],
                                 "; metadata.sonrel.stream and .channels of a clip choose others");
        }
        const MediaDescription& description = catalog.Describe(path);
        if (!description.problem.empty()) {
            AddUnread(use, description.problem, described);
            continue;
        }
        described.taken[{path, use.sound}] = TakenSound(description.info, use.sound);
        described.sounds[{path, use.sound}] = SoundOf(description.info, use.sound);
    }
    return described;
}

std::string TimelineSummaryText(const otio::Arrangement& arrangement, const ClipTally& clips,
                                const otio::ImportReport& report, const MediaReport& media) {
    Summary summary;
    SummarizeTimeline(arrangement.tracks, clips, report, summary);
    const int partlyUsed = media.PartlyUsedFiles();
    if (partlyUsed > 0) {
        summary.AddAttention(Counted(partlyUsed, "media file") +
                                 (partlyUsed == 1 ? " has" : " have") +
                                 " streams or channels that no clip uses",
                             "compare the notes in the list of media with the edit");
    }
    return summary.Text();
}

/// The media files of a timeline.
struct TimelineMedia {
    const std::vector<MediaUse>& all;
    const std::vector<MediaUse>& missing;
    const DescribedMedia& described;
};

Json TimelineJson(const std::string& input, const otio::TimelineImport& import,
                  const FrameGrid& grid, const TimelineMedia& media) {
    const otio::Arrangement& arrangement = import.arrangement;
    Json report;
    report["input"] = input;
    report["kind"] = "timeline";
    report["name"] = import.name;
    report["rate"] = arrangement.rate;
    report["fps"] = arrangement.fps;
    report["grid"] = arrangement.grid;
    report["frames"] = FramesJson(arrangement.frameCount, grid);
    report["startTimecode"] = FormatTimecode(0, grid);
    report["audioFrom"] = AudioFromName(import.soundKind);
    report["tracks"] = TracksJson(import, grid);
    report["media"] = media.described.report.List();
    report["missing"] = MissingJson(media.missing);
    report["notTakenOver"] = NotTakenOverJson(import.report);
    return report;
}

std::string TimelineText(const otio::TimelineImport& import, const FrameGrid& grid,
                         const TimelineMedia& media) {
    std::string text = "timeline " + Quoted(import.name) + ": " +
                       RatesText(grid, TimelineFrames(import.arrangement.frameCount, grid)) +
                       "starts at " + FormatTimecode(0, grid) + "\n" +
                       TracksText(import, grid, media.described.taken);
    if (!media.all.empty()) text += "media\n" + media.described.report.Text();
    for (const MediaUse& use : media.missing) {
        text += "  " + OneLine(use.location.path) + "\n    missing\n";
    }
    return text + NotTakenOverText(import.report);
}

Outcome TimelineInfo(const GlobalOptions& global, const InfoOptions& options) {
    const std::string& input = options.input;
    MediaCatalog catalog;
    ReadingChoice choice;
    choice.catalog = &catalog;
    choice.audioFrom = options.audioFrom;
    otio::TimelineImport import = ReadTimeline(input, global, choice);
    const otio::Arrangement& arrangement = import.arrangement;
    const FrameGrid grid = GridOf(arrangement);
    const std::vector<MediaUse> media = CollectMedia(arrangement.tracks);
    const std::vector<MediaUse> missing = MissingMedia(media);
    const DescribedMedia described = DescribeAll(media, missing, catalog);
    const ClipTally clips = CompareWithMedia(arrangement.tracks, arrangement.frameCount, grid,
                                             described.sounds, import.report);

    Outcome outcome;
    outcome.report = TimelineJson(input, import, grid, {media, missing, described});
    outcome.text = TimelineText(import, grid, {media, missing, described}) +
                   TimelineSummaryText(arrangement, clips, import.report, described.report);
    if (!missing.empty() && !global.allowMissing) {
        outcome.Fail(ExitCode::ConditionFailed, MissingMediaClause(input, missing));
    } else if (!described.problem.empty()) {
        outcome.Fail(ExitCode::JobFailed, described.problem);
    } else if (options.strict) {
        FailOnEntries(input, import.report, {}, outcome);
    }
    return outcome;
}

/// Other sounds of the file need attention, since they are heard only when they are chosen.
std::string MediaSummaryText(const MediaInfo& info) {
    Summary summary;
    const MediaStreamInfo* sound = FindStream(info, MediaStreamKind::Audio, 0);
    const std::string taken = TakenSound(info, {});
    if (sound == nullptr) {
        summary.AddAttention("the file has no sound", "use another file");
    } else {
        summary.AddRight((taken.empty() ? "the sound" : taken) +
                         " can be read: " + FormatDuration(StreamSeconds(*sound)));
    }
    const std::string unused = UnusedSound(info, {{}});
    if (!unused.empty()) {
        summary.AddAttention(unused, CHOOSE_SOUND);
    }
    return summary.Text();
}

/// A media file as a project.
struct MediaLength {
    double fps = DEFAULT_FPS;
    long long frames = 0;
};

/// The frames of the picture, else those that the sound fills.
MediaLength LengthOf(const MediaInfo& info, const GlobalOptions& global) {
    const MediaStreamInfo* picture = FindStream(info, MediaStreamKind::Video, 0);
    const MediaStreamInfo* sound = FindStream(info, MediaStreamKind::Audio, 0);
    if (picture != nullptr && picture->frameRate > 0.0) {
        return {picture->frameRate, picture->frameCount};
    }
    const double fps = global.fps.value_or(DEFAULT_FPS);
    if (sound == nullptr) return {fps, 0};
    return {fps, zrtl::TruncToInt64(zrtl::RoundHalfAway(StreamSeconds(*sound) * fps))};
}

Outcome MediaFileInfo(const GlobalOptions& global, const std::string& input) {
    const std::string path = AbsolutePath(input);
    MediaCatalog catalog;
    MediaReport described(catalog);
    const std::string problem =
        described.Add(path, {zrh::media::SoundChoice()}, "; choose with --stream and --channels");
    if (!problem.empty()) throw JobError(problem);
    const MediaInfo& info = catalog.Describe(path).info;
    const int rate = RateFor(global);
    const auto [fps, frames] = LengthOf(info, global);

    Outcome outcome;
    outcome.report["input"] = input;
    outcome.report["kind"] = "media";
    outcome.report["rate"] = rate;
    outcome.report["fps"] = fps;
    outcome.report["grid"] = 1;
    outcome.report["frames"] = frames;
    outcome.report["tracks"] = Json::Array();
    outcome.report["media"] = described.List();
    outcome.report["missing"] = Json::Array();
    outcome.report["notTakenOver"] = Json::Array();
    outcome.text =
        "media file, as a project: " + RatesText({rate, fps}, static_cast<double>(frames)) +
        described.Text() + MediaSummaryText(info);
    return outcome;
}

}  // namespace

Outcome RunInfo(const GlobalOptions& global, const InfoOptions& options) {
    if (otio::IsTimelinePath(options.input)) return TimelineInfo(global, options);
    return MediaFileInfo(global, options.input);
}

}  // namespace orlo::host
