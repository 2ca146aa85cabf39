// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/options/GlobalOptions.h"
#include "host/otio/TimelineImport.h"
#include "host/shell/Outcome.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// A media file that a timeline uses: one for each path and audio stream.
struct MediaUse {
    otio::MediaLocation location;
    int stream = 0;
    otio::SourceLocation place;                  ///< the first clip that uses it
    std::shared_ptr<project::MediaAsset> asset;  ///< empty until it is imported
};

/// How a timeline is read, beside the rates.
struct ReadingChoice {
    bool soundFromVideo = false;
    otio::Retime retime = otio::Retime::Otio;
};

/// Reads INPUT as a timeline. Every effect in what it gives is one that can be made.
/// @throws JobError or UsageError with the file's name
otio::TimelineImport ReadTimeline(const std::string& input, const GlobalOptions& options,
                                  const ReadingChoice& choice = {});

/// What the clips on tracks use, nested ones included, in the order of the clips.
std::vector<MediaUse> CollectMedia(const std::vector<otio::PlacedTrack>& tracks);

/// Whether a file does not exist, or its URL names no local file.
bool IsMissing(const otio::MediaLocation& location);

/// The first use of each path for which there is no file, URLs that name no local file included.
std::vector<MediaUse> MissingMedia(const std::vector<MediaUse>& media);

/// A clause that names missing media and the places that use them, and says what to do.
std::string MissingMediaClause(const std::string& input, const std::vector<MediaUse>& missing);

/// The paths of missing media as a list.
Json MissingJson(const std::vector<MediaUse>& missing);

/// Makes the assets of a timeline's media and adds them to a project. Missing media become assets
/// without sound; media without sound, and streams that a medium does not have, are noted.
/// @throws JobError that names a file which cannot be read
void ImportMedia(project::Project& project, std::vector<MediaUse>& media,
                 otio::ImportReport& report);

/// Makes an asset of a media file with sound. @throws JobError that names the file
std::shared_ptr<project::MediaAsset> ImportMediaFile(project::Project& project,
                                                     const std::string& path, int stream);

/// Refuses what stands in the way of opening a media file, by its name. @throws JobError
void RequireMediaFile(const std::string& path);

/// Fails because the media library refused a file. @throws JobError that names the file and the
/// reason; CommandError when the program is asked to stop
/// @param code  a zrh::media::MediaError
[[noreturn]] void RefuseMedia(const std::string& path, int code);

/// Frames a second of a media file: of its picture, else --fps, else 25.
double FrameRateOf(const project::MediaAsset& asset, const GlobalOptions& options);

/// Sample rate for a media file: --rate, else 48000.
int RateFor(const GlobalOptions& options);

/// Builds the tracks and objects of a timeline into the project's main sequence.
/// @param media  imported
void BuildSequence(const otio::Arrangement& arrangement, const std::vector<MediaUse>& media,
                   project::Project& project);

/// Builds what a nested item shows, with the rates of its timeline.
/// @param media  imported
std::shared_ptr<project::CompositionAsset> BuildComposition(
    const otio::Arrangement& arrangement, const otio::PlacedComposition& composition,
    const std::vector<MediaUse>& media, project::Project& project);

/// The import report for programs and for people.
Json NotTakenOverJson(const otio::ImportReport& report);
std::string NotTakenOverText(const otio::ImportReport& report);

}  // namespace orlo::host
