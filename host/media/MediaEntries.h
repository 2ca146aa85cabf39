// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "host/options/GlobalOptions.h"
#include "host/output/OutputGuard.h"
#include "host/shell/Outcome.h"
#include "host/timeline/Input.h"

namespace orlo::host {

/// The sound of a media file that an input of a command refers to. Each entry is a line of the
/// result.
struct MediaEntry {
    std::string input;
    std::string media;  ///< absolute path; empty when the input could not be read
    zrh::media::SoundChoice sound;
    int rate = 0;                     ///< of the project, hertz
    std::optional<std::size_t> task;  ///< empty when the entry failed before a task existed
    std::string error;
    bool missing = false;  ///< a media file of a timeline that does not exist
    /// The sound that the clips ask for, where it is not @c sound, and why.
    zrh::media::SoundChoice clipSound = sound;
    SoundFit fit = {};
    std::string note = {};  ///< streams and channels of a media file as INPUT that remain unused
};

/// A timeline among the inputs of a command.
struct CollectedTimeline {
    std::string input;
    otio::TimelineImport import;
    std::vector<MediaUse> silent;  ///< media files without sound, which have no entry
};

/// Collects the sounds that the inputs of a command refer to. An input that cannot be read becomes
/// a separate entry, so that the other inputs are still processed.
class MediaCollector {
public:
    /// Makes the task of a sound, once for each path, sound and rate.
    /// @return the number of the task
    /// @throws JobError
    using MakeTask = std::function<std::size_t(const std::string& path,
                                               const zrh::media::SoundChoice& sound, int rate)>;

    /// @param guard  protects the inputs; null for a command without outputs
    /// @param sound      of the inputs that are media files
    /// @param audioFrom  the tracks of the inputs that are timelines
    MediaCollector(const GlobalOptions& global, OutputGuard* guard,
                   const zrh::media::SoundChoice& sound, otio::AudioFrom audioFrom,
                   MakeTask makeTask)
        : global_(global),
          guard_(guard),
          sound_(sound),
          audioFrom_(audioFrom),
          makeTask_(std::move(makeTask)) {}

    void Add(const std::string& input);

    std::vector<MediaEntry> entries;
    std::vector<CollectedTimeline> timelines;

private:
    void AddTimeline(const std::string& input);
    void AddClipMedia(CollectedTimeline& timeline, const MediaUse& use);
    void AddMissing(const std::string& input, const MediaUse& use, int rate);
    void AddMedia(const std::string& input, const std::string& path,
                  const zrh::media::SoundChoice& sound, int rate);
    std::size_t TaskFor(const std::string& path, const zrh::media::SoundChoice& sound, int rate);

    const GlobalOptions& global_;
    OutputGuard* guard_;
    zrh::media::SoundChoice sound_;
    otio::AudioFrom audioFrom_;
    MakeTask makeTask_;
    std::map<std::tuple<std::string, zrh::media::SoundChoice, int>, std::size_t> known_;
};

/// The result of finding or making a cache file.
enum class FileStatus {
    Made,
    Found,
    Missing,  ///< its media file does not exist, and --allow-missing is given
    Failed
};

struct FileResult {
    FileStatus status = FileStatus::Failed;
    std::string path;   ///< empty unless made or found
    std::string error;  ///< a clause; empty without a failure
};

/// A result without its path when the file is temporary.
FileResult WithLastingPath(const GlobalOptions& global, FileResult result);

/// The result of a command that finds or makes a file for each entry. A timeline with missing media
/// fails as an unmet condition; any other failure takes precedence.
/// @param resultOf  returns the result of a task
Outcome ReportFiles(const std::vector<MediaEntry>& entries,
                    const std::function<FileResult(std::size_t task)>& resultOf);

}  // namespace orlo::host
