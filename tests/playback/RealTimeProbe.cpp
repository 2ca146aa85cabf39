// SPDX-License-Identifier: MIT
#include "tests/playback/RealTimeProbe.h"

#include <pthread.h>

#include <cstdlib>
#include <ctime>
#include <new>

// A sanitizer has its own allocator and its own wrappers of the C library's locks.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define SONREL_IS_SANITIZED 1
#else
#define SONREL_IS_SANITIZED 0
#include <dlfcn.h>
#endif

namespace sonrel_tests {
namespace {

thread_local bool marked = false;

void Count(std::atomic<int>& events) {
    if (marked) ++events;
}

}  // namespace

const bool RealTimeProbe::COUNTS_EVERYTHING = SONREL_IS_SANITIZED == 0;
std::atomic<int> RealTimeProbe::allocations = 0;
std::atomic<int> RealTimeProbe::locks = 0;
std::atomic<int> RealTimeProbe::waits = 0;

RealTimeProbe::RealTimeProbe() {
    marked = true;
}
RealTimeProbe::~RealTimeProbe() {
    marked = false;
}

}  // namespace sonrel_tests

using sonrel_tests::Count;
using sonrel_tests::RealTimeProbe;

#if SONREL_IS_SANITIZED

void* operator new(std::size_t size) {
    Count(RealTimeProbe::allocations);
    if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    if (memory != nullptr) Count(RealTimeProbe::allocations);
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

#else

// In place of the C library's, for the whole program and its libraries; operator new and delete
// come through here too.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) {
    Count(RealTimeProbe::allocations);
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
    Count(RealTimeProbe::allocations);
    return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) {
    Count(RealTimeProbe::allocations);
    return __libc_realloc(memory, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    Count(RealTimeProbe::allocations);
    return __libc_memalign(alignment, size);
}
void free(void* memory) {
    if (memory != nullptr) Count(RealTimeProbe::allocations);
    __libc_free(memory);
}

// Each calls the C library's function of its name. What waits with a lock counts as a wait.
#define SONREL_COUNT(counter, name, parameters, arguments)                                     \
    int name parameters {                                                                      \
        static const auto next = reinterpret_cast<int(*) parameters>(dlsym(RTLD_NEXT, #name)); \
        Count(RealTimeProbe::counter);                                                         \
        return next arguments;                                                                 \
    }

SONREL_COUNT(locks, pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
SONREL_COUNT(locks, pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex))
SONREL_COUNT(locks, pthread_rwlock_rdlock, (pthread_rwlock_t * lock), (lock))
SONREL_COUNT(locks, pthread_rwlock_wrlock, (pthread_rwlock_t * lock), (lock))
SONREL_COUNT(locks, pthread_rwlock_tryrdlock, (pthread_rwlock_t * lock), (lock))
SONREL_COUNT(locks, pthread_rwlock_trywrlock, (pthread_rwlock_t * lock), (lock))
SONREL_COUNT(waits, pthread_cond_wait, (pthread_cond_t * condition, pthread_mutex_t* mutex),
             (condition, mutex))
SONREL_COUNT(waits, pthread_cond_timedwait,
             (pthread_cond_t * condition, pthread_mutex_t* mutex, const timespec* until),
             (condition, mutex, until))
SONREL_COUNT(waits, pthread_cond_clockwait,
             (pthread_cond_t * condition, pthread_mutex_t* mutex, clockid_t clock,
              const timespec* until),
             (condition, mutex, clock, until))

#undef SONREL_COUNT

}  // extern "C"

#endif
