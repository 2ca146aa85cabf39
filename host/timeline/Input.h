// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/arrangement/TimelineImport.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"
#include "host/timeline/Positions.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// How a media file deviates from the sound that its clips use. Both are clauses, and empty when
/// the file has the sound.
struct SoundFit {
    std::string silence;    ///< why the clips are silent
    std::string note;       ///< the sound that the clips play instead
    bool isUnread = false;  ///< the file cannot be read
};

/// Compares a media file with a sound.
SoundFit FitOf(const zrh::media::MediaInfo& info, const zrh::media::SoundChoice& sound);

/// The same for a file; empty where it cannot be read.
SoundFit FitOfFile(const std::string& path, const zrh::media::SoundChoice& sound);

/// A media file that a timeline uses. Each pair of path and sound is a separate use.
struct MediaUse {
    otio::MediaLocation location;
    zrh::media::SoundChoice sound;
    otio::SourceLocation place;                  ///< the first clip that uses it
    std::shared_ptr<project::MediaAsset> asset;  ///< null until it is imported
    SoundFit fit;                                ///< of an imported file
    bool isPicture = false;                      ///< all clips that use it are on video tracks
    /// The file did not exist when the media were collected, or its URL is not a local file. A file
    /// that disappears later is an error, never silence.
    bool isMissing = false;
};

class MediaCatalog;

/// Options for reading a timeline, except the rates.
struct ReadingChoice {
    otio::AudioFrom audioFrom = otio::AudioFrom::Auto;
    otio::Retime retime = otio::Retime::Otio;
    otio::GridLimit gridLimit = nullptr;  ///< null: only the limits of the engine
    MediaCatalog* catalog = nullptr;      ///< shared descriptions of media files; may be null
};

/// Reads INPUT as a timeline. Effects that cannot be created are removed and reported.
/// @throws JobError or UsageError with the name of the file
otio::TimelineImport ReadTimeline(const std::string& input, const GlobalOptions& options,
                                  const ReadingChoice& choice = {});

/// The frames and timecodes of a timeline.
FrameGrid GridOf(const otio::Arrangement& arrangement);

/// The media files that the clips on tracks use, in the order of the clips, nested clips included.
/// Looks for each file once.
std::vector<MediaUse> CollectMedia(const std::vector<otio::PlacedTrack>& tracks);

/// Why the clips of a media file without an audio stream are silent.
constexpr const char* NO_SOUND_REASON = "its media file has no sound";

/// Why the clips of a missing media file are silent.
constexpr const char* MISSING_MEDIA_REASON = "its media file is missing; it is silent";

/// The first use of each missing path, URLs of files on other machines included.
std::vector<MediaUse> MissingMedia(const std::vector<MediaUse>& media);

/// A clause with the missing media, the places that use them, and the remedy.
std::string MissingMediaClause(const std::string& input, const std::vector<MediaUse>& missing);

/// The paths of missing media as a list.
Json MissingJson(const std::vector<MediaUse>& missing);

/// Creates the assets for the media of a timeline and adds them to a project. Missing media become
/// assets without sound. Media files without sound, and missing streams, are marked as silent.
/// @param jobs  files that are open at the same time, at most 16
/// @throws JobError with the name of the first file that cannot be read
void ImportMedia(project::Project& project, std::vector<MediaUse>& media, int jobs);

/// Creates the asset of a media file with sound. @throws JobError with the name of the file
std::shared_ptr<project::MediaAsset> ImportMediaFile(project::Project& project,
                                                     const std::string& path,
                                                     const zrh::media::SoundChoice& sound);

/// Refuses a path that does not exist or is not a regular file. @throws JobError with the path
void RequireMediaFile(const std::string& path);

/// Fails because the media library refused a file. @throws JobError with the file and the reason;
/// CommandError when the program was asked to stop
/// @param code  a zrh::media::MediaError
[[noreturn]] void RefuseMedia(const std::string& path, int code);

/// Frame rate of a media file: the rate of its video stream, else --fps, else 25.
double FrameRateOf(const project::MediaAsset& asset, const GlobalOptions& options);

/// Sample rate for a media file: --rate, else 48000.
int RateFor(const GlobalOptions& options);

/// Builds the tracks and objects of a timeline into the project's main sequence.
/// @param media  imported
void BuildSequence(const otio::Arrangement& arrangement, const std::vector<MediaUse>& media,
                   project::Project& project);

/// Builds the content of a nested item, with the rates of its timeline.
/// @param media  imported
std::shared_ptr<project::CompositionAsset> BuildComposition(
    const otio::Arrangement& arrangement, const otio::PlacedComposition& composition,
    const std::vector<MediaUse>& media, project::Project& project);

/// The import report as JSON and as text.
Json NotTakenOverJson(const otio::ImportReport& report);
std::string NotTakenOverText(const otio::ImportReport& report);

}  // namespace orlo::host
