// SPDX-License-Identifier: MIT
#include "sonrel/conformed/detail/RecentConformedFiles.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace orlo::project {

namespace {

/// With its frames ahead a file takes 64 KB: 16 MB in all.
constexpr std::size_t MAX_FILES = 256;

/// The records in the order in which their files were closed: the next file of a mix is at the
/// front. The memory for all is reserved at the start, since files are closed where nothing may be
/// thrown.
struct ClosedFileCache {
    ClosedFileCache() { files.reserve(MAX_FILES); }

    std::mutex mutex;
    std::vector<std::unique_ptr<ConformedAudioFileImpl>> files;
};

/// Never destroyed: a file may be closed by the destructor of a static object.
ClosedFileCache& TheClosedFileCache() {
    static auto* cache = new ClosedFileCache;
    return *cache;
}

}  // namespace

std::unique_ptr<ConformedAudioFileImpl> RecentConformedFiles::Take(const std::wstring& path) {
    ClosedFileCache& cache = TheClosedFileCache();
    const std::lock_guard lock(cache.mutex);
    const auto found = std::find_if(cache.files.begin(), cache.files.end(),
                                    [&](const auto& file) { return file->path == path; });
    if (found == cache.files.end()) return nullptr;
    auto file = std::move(*found);
    cache.files.erase(found);
    return file;
}

void RecentConformedFiles::Keep(std::unique_ptr<ConformedAudioFileImpl> file) {
    if (!file->isSettled) return;
    ClosedFileCache& cache = TheClosedFileCache();
    const std::lock_guard lock(cache.mutex);
    if (cache.files.size() == MAX_FILES) cache.files.erase(cache.files.begin());
    cache.files.push_back(std::move(file));
}

}  // namespace orlo::project
