// SPDX-License-Identifier: MIT
#include "sonrel/conformed/detail/ConformedFileInfo.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>

namespace orlo::project {

namespace {

constexpr long long BYTES_PER_FRAME = 4;

/// With its frames ahead a file takes 64 KB: 16 MB in all.
constexpr std::size_t MAX_FILES = 256;

/// The info in the order in which their files were closed: what a mix asks for next stands in
/// front. There is room for all from the start, since files are closed where nothing may be thrown.
struct ClosedFileCache {
    ClosedFileCache() { files.reserve(MAX_FILES); }

    std::mutex mutex;
    std::vector<std::unique_ptr<ConformedFileInfo>> files;
};

/// Never destroyed: a file may be closed by the destructor of a static object.
ClosedFileCache& TheClosedFileCache() {
    static auto* cache = new ClosedFileCache;
    return *cache;
}

}  // namespace

bool ReadAhead::Copy(long long first, long long count, unsigned char* buffer) const {
    const auto held = static_cast<long long>(bytes.size()) / BYTES_PER_FRAME;
    if (first < start || first - start > held - count) return false;
    std::memcpy(buffer, bytes.data() + (first - start) * BYTES_PER_FRAME,
                static_cast<std::size_t>(count * BYTES_PER_FRAME));
    return true;
}

bool ConformedFileInfo::HoldsNextRead() const {
    const long long next = nextFrame.load(std::memory_order_relaxed);
    const long long wanted =
        std::min(lastCount.load(std::memory_order_relaxed), layout.sampleCount - next);
    const long long held = static_cast<long long>(ahead.bytes.size()) / BYTES_PER_FRAME;
    return wanted > 0 && next >= ahead.start && next - ahead.start <= held - wanted;
}

std::unique_ptr<ConformedFileInfo> RecentConformedFiles::Take(const std::wstring& path) {
    ClosedFileCache& cache = TheClosedFileCache();
    const std::lock_guard lock(cache.mutex);
    const auto found = std::find_if(cache.files.begin(), cache.files.end(),
                                    [&](const auto& info) { return info->path == path; });
    if (found == cache.files.end()) return nullptr;
    auto info = std::move(*found);
    cache.files.erase(found);
    return info;
}

void RecentConformedFiles::Keep(std::unique_ptr<ConformedFileInfo> info) {
    if (!info->isSettled) return;
    ClosedFileCache& cache = TheClosedFileCache();
    const std::lock_guard lock(cache.mutex);
    if (cache.files.size() == MAX_FILES) cache.files.erase(cache.files.begin());
    cache.files.push_back(std::move(info));
}

}  // namespace orlo::project
