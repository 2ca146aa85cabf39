// SPDX-License-Identifier: MIT
#include "host/timeline/Input.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <set>
#include <utility>

#include "host/otio/JsonDocument.h"
#include "host/process/InParallel.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/LibraryMessage.h"
#include "host/shell/Paths.h"
#include "host/shell/SoundText.h"
#include "host/shell/Terminal.h"
#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"
#include "host/shell/Timecode.h"
#include "host/source/TimelineSource.h"
#include "host/timeline/Ducking.h"
#include "host/timeline/EffectChains.h"
#include "host/timeline/MediaCatalog.h"
#include "host/timeline/SoundProblem.h"
#include "host/timeline/UnreadPictures.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/ZRMediaException.h"
#include "sonrel/media/input/InterruptScope.h"
#include "sonrel/media/input/MediaErrors.h"

namespace orlo::host {

namespace {

using project::MediaAsset;

constexpr int DEFAULT_RATE = 48000;
constexpr double DEFAULT_FPS = 25.0;

/// Why a file does not have the chosen sound; empty where it has, and where it cannot be read.
std::string ProblemOf(const std::string& path, const zrh::media::SoundChoice& sound) {
    if (sound == zrh::media::SoundChoice() || Interrupted()) return {};
    zrh::media::MediaInfo info;
    if (zrh::media::DescribeMedia(WidePath(path), &info) != 0) return {};
    return SoundProblem(info, sound);
}

/// The first reason why a stream of a file cannot be read; @p otherwise when all can be read.
std::string FirstReason(const zrh::media::MediaInfo& info, const std::string& otherwise) {
    for (const zrh::media::MediaStreamInfo& stream : info.streams) {
        if (!stream.reason.empty()) return stream.reason;
    }
    return otherwise;
}

/// The reason why the decoding library does not open a file; empty when it has none.
std::string LibraryReason(const std::string& path) {
    TakeLibraryMessage();
    zrh::media::MediaInfo info;
    zrh::media::DescribeMedia(WidePath(path), &info);
    return TakeLibraryMessage();
}

std::shared_ptr<MediaAsset> SilentAsset(project::Project& project, const std::string& path) {
    return std::make_shared<MediaAsset>(project.Manager(), WidePath(path));
}

std::shared_ptr<MediaAsset> ImportSound(project::Project& project, MediaUse& use) {
    const std::string& path = use.location.path;
    RequireMediaFile(path);
    try {
        std::shared_ptr<MediaAsset> asset =
            project::ImportMediaAsset(project.Manager(), WidePath(path), use.sound);
        if (!asset->HasAudio()) use.fit.silence = NO_SOUND_REASON;
        return asset;
    } catch (const zrh::media::ZRMediaException& error) {
        if (use.sound != zrh::media::SoundChoice()) use.fit = FitOfFile(path, use.sound);
        if (!use.fit.note.empty()) {
            return project::ImportMediaAsset(project.Manager(), WidePath(path));
        }
        if (use.fit.silence.empty()) RefuseMedia(path, error.Code());
        return SilentAsset(project, path);
    }
}

std::shared_ptr<MediaAsset> ImportUse(project::Project& project, MediaUse& use) {
    try {
        return ImportSound(project, use);
    } catch (const JobError& error) {
        use.fit = FitOfUnreadPicture(use, error.what());
        if (!use.fit.isUnread) throw;
        return SilentAsset(project, use.location.path);
    }
}

/// Whether a file does not exist, or its URL is not a local file.
bool IsMissing(const otio::MediaLocation& location) {
    struct stat status = {};
    return !location.problem.empty() || stat(location.path.c_str(), &status) != 0;
}

/// Frame rate of the picture in a media file; 0 when it cannot be read or has no picture.
double PictureRate(const std::string& path, MediaCatalog& catalog) {
    const MediaDescription& description = catalog.Describe(path);
    const auto* picture =
        zrh::media::FindStream(description.info, zrh::media::MediaStreamKind::Video, 0);
    return picture == nullptr ? 0.0 : picture->frameRate;
}

/// Makes timecodes drop-frame when a timecode of a media file is, at frame rates that have it.
void SetDropFrame(otio::Arrangement& arrangement, MediaCatalog& catalog) {
    if (arrangement.dropFrame || !HasDropFrame(arrangement.fps)) return;
    for (const MediaUse& use : CollectMedia(arrangement.tracks)) {
        if (use.isMissing) continue;
        const MediaDescription& description = catalog.Describe(use.location.path);
        if (!HasDropFrameTimecode(description.info)) continue;
        arrangement.dropFrame = true;
        return;
    }
}

/// The media that clips use, each path and stream once.
class MediaCollection {
public:
    void Add(const std::vector<otio::PlacedTrack>& tracks) {
        for (const otio::PlacedTrack& track : tracks) {
            for (const otio::PlacedClip& clip : track.clips) {
                if (clip.composition != nullptr) {
                    Add(clip.composition->tracks);
                } else {
                    Add(clip);
                }
            }
        }
    }

    std::vector<MediaUse> Take() { return std::move(media_); }

private:
    void Add(const otio::PlacedClip& clip) {
        const auto [at, isNew] = known_.try_emplace({clip.media.path, clip.sound}, media_.size());
        if (isNew) {
            const bool isMissing = IsMissingOnce(clip.media);
            media_.push_back({clip.media, clip.sound, clip.place, nullptr, {}, true, isMissing});
        }
        MediaUse& use = media_[at->second];
        use.isPicture = use.isPicture && clip.isPicture;
    }

    /// The same for all uses of a path, whatever happens to the file meanwhile.
    bool IsMissingOnce(const otio::MediaLocation& location) {
        const auto [at, isNew] = isMissing_.try_emplace(location.path, false);
        if (isNew) at->second = IsMissing(location);
        return at->second;
    }

    std::vector<MediaUse> media_;
    std::map<std::pair<std::string, zrh::media::SoundChoice>, std::size_t> known_;
    std::map<std::string, bool> isMissing_;  ///< by path
};

}  // namespace

otio::TimelineImport ReadTimeline(const std::string& input, const GlobalOptions& options,
                                  const ReadingChoice& choice) {
    otio::ImportOptions importOptions;
    importOptions.rates = {options.fps, options.rate, options.grid, choice.gridLimit};
    importOptions.mediaRoots = options.mediaRoots;
    importOptions.retime = choice.retime;
    importOptions.dropFrame = options.dropFrame;
    MediaCatalog ownCatalog;
    MediaCatalog& catalog = choice.catalog != nullptr ? *choice.catalog : ownCatalog;
    importOptions.pictureRateOf = [&](const std::string& path) {
        return PictureRate(path, catalog);
    };
    importOptions.mediaClockOf = [&](const std::string& path, double fps) {
        return catalog.ClockOf(path, fps);
    };
    importOptions.audioFrom = choice.audioFrom;
    try {
        otio::TimelineImport import = ImportInput(input, options, importOptions);
        DropRefusedEffects(import);
        DropRefusedDucking(import);
        SetDropFrame(import.arrangement, catalog);
        return import;
    } catch (const otio::RateError& error) {
        const std::string text =
            "cannot import the timeline " + Quoted(input) + ": " + error.what();
        if (options.fps || options.rate || options.grid) throw UsageError(text);
        throw JobError(text + "; set other rates with --fps and --rate");
    } catch (const otio::DocumentError& error) {
        throw JobError("cannot read the timeline " + Quoted(input) + ": " + error.what());
    }
}

FrameGrid GridOf(const otio::Arrangement& arrangement) {
    return {arrangement.rate, arrangement.fps, arrangement.grid, arrangement.startFrame,
            arrangement.dropFrame};
}

std::vector<MediaUse> CollectMedia(const std::vector<otio::PlacedTrack>& tracks) {
    MediaCollection media;
    media.Add(tracks);
    return media.Take();
}

std::vector<MediaUse> MissingMedia(const std::vector<MediaUse>& media) {
    std::vector<MediaUse> missing;
    std::set<std::string> known;
    for (const MediaUse& use : media) {
        if (use.isMissing && known.insert(use.location.path).second) missing.push_back(use);
    }
    return missing;
}

std::string MissingMediaClause(const std::string& input, const std::vector<MediaUse>& missing) {
    std::string names;
    for (const MediaUse& use : missing) {
        if (!names.empty()) names += ", ";
        names += Quoted(use.location.path) + " (" + OneLine(otio::ToText(use.place));
        if (!use.location.problem.empty()) names += ": " + use.location.problem;
        names += ")";
    }
    return "media of " + Quoted(input) + " are missing: " + names +
           "; find them with --media-root, or leave them out with --allow-missing";
}

Json MissingJson(const std::vector<MediaUse>& missing) {
    Json list = Json::Array();
    for (const MediaUse& use : missing) list.Append(use.location.path);
    return list;
}

void RequireMediaFile(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        throw JobError("cannot read " + Quoted(path) + ": " + std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        throw JobError("cannot read " + Quoted(path) + ": it is not a regular file");
    }
}

void RefuseMedia(const std::string& path, int code) {
    if (Interrupted()) ThrowInterrupted("not all media are read");
    std::string reason = zrh::media::MediaErrorText(code);
    if (code == static_cast<int>(zrh::media::MediaError::TooMuchSilence)) {
        // Only the error text for this file contains the numbers.
        zrh::media::MediaInfo info;
        const int again = zrh::media::DescribeMedia(WidePath(path), &info, &reason);
        if (again == 0) reason = FirstReason(info, reason);
    }
    if (code == static_cast<int>(zrh::media::MediaError::NotMedia)) {
        const std::string message = LibraryReason(path);
        if (!message.empty()) reason += " (FFmpeg: " + OneLine(message) + ")";
    }
    throw JobError("cannot read " + Quoted(path) + ": " + reason);
}

void ImportMedia(project::Project& project, std::vector<MediaUse>& media, int jobs) {
    // 64 descriptors suffice for every command, on a machine with more cores too.
    constexpr int MAX_OPEN_FILES = 16;
    InParallel(media.size(), std::min(jobs, MAX_OPEN_FILES), [&](std::size_t number) {
        const zrh::media::InterruptScope stopMedia(Interrupted);
        MediaUse& use = media[number];
        if (use.isMissing) {
            use.fit.silence = MISSING_MEDIA_REASON;
            use.asset = SilentAsset(project, {});
        } else {
            use.asset = ImportUse(project, use);
        }
    });
    for (const MediaUse& use : media) project.Assets().Add(use.asset);
}

SoundFit FitOf(const zrh::media::MediaInfo& info, const zrh::media::SoundChoice& sound) {
    const std::string problem = SoundProblem(info, sound);
    if (problem.empty()) return {};
    if (zrh::media::FindStream(info, zrh::media::MediaStreamKind::Audio, 0) == nullptr) {
        return {NO_SOUND_REASON, {}};
    }
    if (IsStereoOfMono(info, sound)) {
        return {{},
                "it uses left and right, and its media file has one channel, which sounds on both "
                "sides"};
    }
    return {"it uses " + ClauseOf(sound) + ", and its media file " + problem + "; it is silent",
            {}};
}

SoundFit FitOfFile(const std::string& path, const zrh::media::SoundChoice& sound) {
    zrh::media::MediaInfo info;
    if (Interrupted() || zrh::media::DescribeMedia(WidePath(path), &info) != 0) return {};
    return FitOf(info, sound);
}

std::shared_ptr<MediaAsset> ImportMediaFile(project::Project& project, const std::string& path,
                                            const zrh::media::SoundChoice& sound) {
    RequireMediaFile(path);
    std::shared_ptr<MediaAsset> asset;
    try {
        asset = project::ImportMediaAsset(project.Manager(), WidePath(path), sound);
    } catch (const zrh::media::ZRMediaException& error) {
        const std::string problem = ProblemOf(path, sound);
        if (problem.empty()) RefuseMedia(path, error.Code());
        throw JobError("cannot use " + Quoted(path) + ": it " + problem);
    }
    if (!asset->HasAudio()) throw JobError("cannot use " + Quoted(path) + ": it has no sound");
    project.Assets().Add(asset);
    return asset;
}

double FrameRateOf(const MediaAsset& asset, const GlobalOptions& options) {
    if (asset.HasVideo()) return asset.VideoStream()->FrameRate();
    return options.fps.value_or(DEFAULT_FPS);
}

int RateFor(const GlobalOptions& options) {
    return options.rate.value_or(DEFAULT_RATE);
}

Json NotTakenOverJson(const otio::ImportReport& report) {
    Json list = Json::Array();
    for (const otio::ImportReport::Entry& entry : report.Entries()) {
        list.Append(Json::Object({{"what", entry.what},
                                  {"where", entry.where},
                                  {"reason", entry.reason},
                                  {"count", entry.count},
                                  {"severity", otio::SeverityName(entry.severity)}}));
    }
    return list;
}

std::string NotTakenOverText(const otio::ImportReport& report) {
    const std::vector<otio::ImportReport::Entry> entries = report.Entries();
    if (entries.empty()) return {};
    const int columns = ReportColumns();
    std::string text = "not imported, or changed:\n";
    for (const otio::ImportReport::Entry& entry : entries) {
        std::string row = OneLine(entry.what);
        if (entry.count > 1) row += " (" + std::to_string(entry.count) + " times)";
        row += ", " + OneLine(entry.where) + ": " + OneLine(entry.reason);
        text += IndentedLines(row, 2, 6, columns);
    }
    return text;
}

}  // namespace orlo::host
