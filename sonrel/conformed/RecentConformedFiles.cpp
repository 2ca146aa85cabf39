// SPDX-License-Identifier: MIT
#include "sonrel/conformed/detail/RecentConformedFiles.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace orlo::project {

namespace {

/// With the frames that are read in advance they take up to 40 MB.
constexpr std::size_t MAX_FILES = 256;

/// Whether the cache of this thread was destroyed: a static object may close its file after that.
thread_local bool cacheHasEnded = false;

/// The records in the order in which their files were closed: the next file of a mix is at the
/// front. The memory for all is reserved at the start, since files are closed where nothing may be
/// thrown.
struct ClosedFileCache {
    ClosedFileCache() { files.reserve(MAX_FILES); }
    ~ClosedFileCache() { cacheHasEnded = true; }
    ClosedFileCache(const ClosedFileCache&) = delete;
    ClosedFileCache& operator=(const ClosedFileCache&) = delete;

    std::vector<std::unique_ptr<ConformedAudioFileImpl>> files;
};

ClosedFileCache& CacheOfThread() {
    thread_local ClosedFileCache cache;
    return cache;
}

}  // namespace

std::unique_ptr<ConformedAudioFileImpl> RecentConformedFiles::Take(const std::wstring& path) {
    if (cacheHasEnded) return nullptr;
    auto& files = CacheOfThread().files;
    const auto found = std::find_if(files.begin(), files.end(),
                                    [&](const auto& file) { return file->path == path; });
    if (found == files.end()) return nullptr;
    auto file = std::move(*found);
    files.erase(found);
    return file;
}

int RecentConformedFiles::Count() {
    return cacheHasEnded ? 0 : static_cast<int>(CacheOfThread().files.size());
}

void RecentConformedFiles::Keep(std::unique_ptr<ConformedAudioFileImpl> file) {
    if (!file->isSettled || cacheHasEnded) return;
    auto& files = CacheOfThread().files;
    if (files.size() == MAX_FILES) files.erase(files.begin());
    files.push_back(std::move(file));
}

}  // namespace orlo::project
