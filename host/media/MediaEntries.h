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

/// One stream that the inputs of a command name, and so a line of its result.
struct MediaEntry {
    std::string input;
    std::string media;                ///< absolute path; empty when the input could not be read
    int stream = 0;                   ///< among the audio streams
    int rate = 0;                     ///< of the project, hertz
    std::optional<std::size_t> task;  ///< none when it failed before there was anything to do
    std::string error;
    bool missing = false;  ///< a media file of a timeline that does not exist
};

/// Gathers what the inputs of a command name. An input that cannot be read becomes an entry of its
/// own, so that the others are done all the same.
class MediaCollector {
public:
    /// Makes the task of a stream, once for each path, stream and rate.
    /// @return the task's number @throws JobError
    using MakeTask = std::function<std::size_t(const std::string& path, int stream, int rate)>;

    /// @param guard  is to protect the inputs; null for a command without outputs
    MediaCollector(const GlobalOptions& global, OutputGuard* guard, MakeTask makeTask)
        : global_(global), guard_(guard), makeTask_(std::move(makeTask)) {}

    void Add(const std::string& input);

    std::vector<MediaEntry> entries;

private:
    void AddTimeline(const std::string& input);
    void AddMissing(const std::string& input, const MediaUse& use, int rate);
    void AddMedia(const std::string& input, const std::string& path, int stream, int rate);
    std::size_t TaskFor(const std::string& path, int stream, int rate);

    const GlobalOptions& global_;
    OutputGuard* guard_;
    MakeTask makeTask_;
    std::map<std::tuple<std::string, int, int>, std::size_t> known_;
};

/// What came of a cache file.
enum class FileStatus {
    Made,
    Found,
    Missing,  ///< its media file does not exist, and --allow-missing is given
    Failed
};

struct FileResult {
    FileStatus status = FileStatus::Failed;
    std::string path;   ///< empty unless it was made or found
    std::string error;  ///< a clause; empty unless it failed
};

/// The result of a command that finds or makes a file for each entry. A timeline whose media are
/// missing fails as a condition that does not hold; any other failure outranks it.
/// @param resultOf  of an entry's task
Outcome ReportFiles(const std::vector<MediaEntry>& entries,
                    const std::function<FileResult(std::size_t task)>& resultOf);

}  // namespace orlo::host
