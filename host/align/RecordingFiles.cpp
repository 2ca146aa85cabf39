// SPDX-License-Identifier: MIT
#include "host/align/RecordingFiles.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <set>
#include <system_error>

#include "host/otio/TimelinePath.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

/// In byte order.
constexpr const char* EXTENSIONS[] = {
    ".3g2",  ".3gp",  ".aac", ".ac3", ".aif", ".aifc", ".aiff", ".amr",  ".asf",
    ".avi",  ".bwf",  ".caf", ".dts", ".dv",  ".eac3", ".f4v",  ".flac", ".flv",
    ".m2t",  ".m2ts", ".m4a", ".m4v", ".mka", ".mkv",  ".mov",  ".mp2",  ".mp3",
    ".mp4",  ".mpeg", ".mpg", ".mts", ".mxf", ".oga",  ".ogg",  ".ogv",  ".opus",
    ".rf64", ".ts",   ".vob", ".w64", ".wav", ".webm", ".wma",  ".wmv",  ".wv"};

bool HasMediaExtension(const fs::path& path) {
    const std::string extension = LowerCase(path.extension().string());
    return std::binary_search(std::begin(EXTENSIONS), std::end(EXTENSIONS), extension);
}

class Search {
public:
    void AddFile(const std::string& path) {
        if (known_.insert(AbsolutePath(path)).second) found_.recordings.push_back(path);
    }

    void AddFolder(const fs::path& folder) {
        if (Interrupted()) ThrowInterrupted("the recordings are not aligned");
        std::vector<fs::path> paths;
        std::error_code error;
        for (fs::directory_iterator at(folder, error), end; !error && at != end;
             at.increment(error)) {
            if (!at->path().filename().string().starts_with('.')) paths.push_back(at->path());
        }
        if (error) {
            AddFile(folder.string());
            found_.errors[folder.string()] =
                "cannot read the folder " + Quoted(folder.string()) + ": " + error.message();
        }
        std::sort(paths.begin(), paths.end());
        for (const fs::path& path : paths) AddEntry(path);
    }

    RecordingFiles Take() { return std::move(found_); }

private:
    void AddEntry(const fs::path& path) {
        std::error_code ignored;
        const bool isTimeline = otio::IsTimelinePath(path.string());
        if (fs::is_directory(fs::symlink_status(path, ignored)) && !isTimeline) {
            AddFolder(path);
        } else if (fs::is_regular_file(path, ignored) && HasMediaExtension(path)) {
            AddFile(path.string());
        } else {
            found_.ignored.push_back(path.string());
        }
    }

    RecordingFiles found_;
    std::set<std::string> known_;
};

}  // namespace

RecordingFiles FindRecordings(const std::vector<std::string>& inputs) {
    Search search;
    for (const std::string& input : inputs) {
        std::error_code ignored;
        if (fs::is_directory(input, ignored) && !otio::IsTimelinePath(input)) {
            search.AddFolder(input);
        } else {
            search.AddFile(input);
        }
    }
    return search.Take();
}

}  // namespace orlo::host
