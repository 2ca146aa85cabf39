// SPDX-License-Identifier: MIT
#include "sonrel/conformed/detail/ConformedFileFacts.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>

namespace orlo::project {

namespace {

constexpr long long BYTES_PER_FRAME = 4;

/// With its frames ahead a file takes 64 KB: 16 MB in all.
constexpr std::size_t MOST_FILES = 256;

/// The facts in the order in which their files were closed: what a mix asks for next stands in
/// front. There is room for all from the start, since files are closed where nothing may be thrown.
struct Shelf {
    Shelf() { files.reserve(MOST_FILES); }

    std::mutex mutex;
    std::vector<std::unique_ptr<ConformedFileFacts>> files;
};

/// Never destroyed: a file may be closed by the destructor of a static object.
Shelf& TheShelf() {
    static auto* shelf = new Shelf;
    return *shelf;
}

}  // namespace

bool ReadAhead::Copy(long long first, long long count, unsigned char* buffer) const {
    const auto held = static_cast<long long>(bytes.size()) / BYTES_PER_FRAME;
    if (first < start || first - start > held - count) return false;
    std::memcpy(buffer, bytes.data() + (first - start) * BYTES_PER_FRAME,
                static_cast<std::size_t>(count * BYTES_PER_FRAME));
    return true;
}

bool ConformedFileFacts::HoldsNextRead() const {
    const long long next = nextFrame.load(std::memory_order_relaxed);
    const long long wanted =
        std::min(lastCount.load(std::memory_order_relaxed), layout.sampleCount - next);
    const long long held = static_cast<long long>(ahead.bytes.size()) / BYTES_PER_FRAME;
    return wanted > 0 && next >= ahead.start && next - ahead.start <= held - wanted;
}

std::unique_ptr<ConformedFileFacts> RecentConformedFiles::Take(const std::wstring& path) {
    Shelf& shelf = TheShelf();
    const std::lock_guard lock(shelf.mutex);
    const auto found = std::find_if(shelf.files.begin(), shelf.files.end(),
                                    [&](const auto& facts) { return facts->path == path; });
    if (found == shelf.files.end()) return nullptr;
    auto facts = std::move(*found);
    shelf.files.erase(found);
    return facts;
}

void RecentConformedFiles::Keep(std::unique_ptr<ConformedFileFacts> facts) {
    if (!facts->isSettled) return;
    Shelf& shelf = TheShelf();
    const std::lock_guard lock(shelf.mutex);
    if (shelf.files.size() == MOST_FILES) shelf.files.erase(shelf.files.begin());
    shelf.files.push_back(std::move(facts));
}

}  // namespace orlo::project
