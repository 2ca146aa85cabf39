// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/LibpqLibrary.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

namespace orlo::project::libpq {

namespace {

std::mutex loadMutex;
std::atomic<const LibpqFunctions*> loadedFunctions = nullptr;  // written under the mutex

}  // namespace

const LibpqFunctions* LoadLibpq(std::string* failure) {
    if (const LibpqFunctions* loaded = loadedFunctions) return loaded;
    const std::lock_guard lock(loadMutex);
    if (loadedFunctions == nullptr) loadedFunctions = FindLibpqFunctions(failure);
    return loadedFunctions;
}

const LibpqFunctions& LoadedLibpq() {
    const LibpqFunctions* const loaded = loadedFunctions.load(std::memory_order_acquire);
    // Every connection loads the library first.
    if (loaded == nullptr) std::abort();
    return *loaded;
}

}  // namespace orlo::project::libpq
