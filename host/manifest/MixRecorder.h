// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/options/GivenOptions.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Progress.h"
#include "host/timeline/Input.h"

namespace orlo::host {

/// The hash of a stem.
struct StemHash {
    std::string name;  ///< of the track
    std::string sha256;
};

/// The result of a mix, as far as a manifest records it.
struct MixResult {
    Json values = Json::Object();  ///< range, rates, and the values of all options
    Json tracks = Json::Array();   ///< levels and clips
    Json master;                   ///< null for a media file
    Json loudness;
    Json normalization;      ///< null without --normalize
    long long samples = 0;   ///< stereo frames
    std::string sampleHash;  ///< SHA-256
    std::vector<StemHash> stems;
};

/// The ranges that a mix plays from a media file, as a list.
using RangesOfMedia = std::function<Json(const MediaUse& use)>;

/// Collects the manifest of a mix. The manifest depends on the files, the options and the programs
/// only: it has no date, and equal mixes have equal manifests.
class MixRecorder {
public:
    /// @param global    outlives the object
    /// @param manifest  the path of its file; empty when it is not written
    /// @param input     as on the command line
    MixRecorder(const GlobalOptions& global, std::string manifest, std::string input);

    /// Hashes the timeline and stores the fingerprints of the media files, before they are read.
    /// @throws JobError when the timeline cannot be read or a media file cannot be examined
    void Begin(const std::vector<MediaUse>& media);

    /// Hashes the media files.
    /// @param given  the options of the mix
    /// @throws JobError when the timeline or a media file has changed since Begin or cannot be
    ///         read; CommandError when the program is asked to stop
    Json Finish(const GivenOptions& given, const MixResult& result,
                const std::vector<MediaUse>& media, const RangesOfMedia& rangesOf,
                Progress& progress);

private:
    /// A media file before it is read.
    struct FileState {
        long long size = 0;
        std::string fingerprint;
    };

    /// @throws JobError when the file cannot be examined
    static FileState StateOf(const std::string& path);
    Json InputJson() const;
    Json MediaJson(const MediaUse& use, const Json& ranges) const;
    void HashMedia(Progress& progress);
    std::string ShownPath(const std::string& path) const;

    const GlobalOptions& global_;
    std::string manifest_;
    std::string input_;
    std::string timelineHash_;                 ///< empty for a media file
    std::map<std::string, FileState> states_;  ///< of the media files that exist, by path
    std::map<std::string, std::string> hashes_;
};

}  // namespace orlo::host
