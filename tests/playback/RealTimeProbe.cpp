// SPDX-License-Identifier: MIT
#include "tests/playback/RealTimeProbe.h"

#include <pthread.h>

#include <cstdlib>
#include <new>

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define SONREL_COUNTS_LOCKS 0
#else
#define SONREL_COUNTS_LOCKS 1
#include <dlfcn.h>
#endif

namespace sonrel_tests {
namespace {

thread_local bool marked = false;

}  // namespace

const bool RealTimeProbe::COUNTS_LOCKS = SONREL_COUNTS_LOCKS;
std::atomic<int> RealTimeProbe::allocations = 0;
std::atomic<int> RealTimeProbe::locks = 0;

RealTimeProbe::RealTimeProbe() {
    marked = true;
}
RealTimeProbe::~RealTimeProbe() {
    marked = false;
}

}  // namespace sonrel_tests

using sonrel_tests::marked;
using sonrel_tests::RealTimeProbe;

void* operator new(std::size_t size) {
    if (marked) ++RealTimeProbe::allocations;
    if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    if (marked && memory != nullptr) ++RealTimeProbe::allocations;
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

#if SONREL_COUNTS_LOCKS
// In front of the C library's.
extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) {
    static const auto next =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    if (marked) ++RealTimeProbe::locks;
    return next(mutex);
}
#endif
