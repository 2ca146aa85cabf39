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
#include <fcntl.h>
#include <poll.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
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
std::atomic<int> RealTimeProbe::fileCalls = 0;

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

// Replace the C library's functions, for the whole program and its libraries; operator new and
// delete call them too.
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

// Each calls the C library's function of its name. A wait with a lock counts as a wait.
#define SONREL_COUNT(counter, result, name, parameters, arguments)                                \
    result name parameters {                                                                      \
        static const auto next = reinterpret_cast<result(*) parameters>(dlsym(RTLD_NEXT, #name)); \
        Count(RealTimeProbe::counter);                                                            \
        return next arguments;                                                                    \
    }

SONREL_COUNT(locks, int, pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
SONREL_COUNT(locks, int, pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex))
SONREL_COUNT(locks, int, pthread_rwlock_rdlock, (pthread_rwlock_t * lock), (lock))
SONREL_COUNT(locks, int, pthread_rwlock_wrlock, (pthread_rwlock_t * lock), (lock))
SONREL_COUNT(locks, int, pthread_rwlock_tryrdlock, (pthread_rwlock_t * lock), (lock))
SONREL_COUNT(locks, int, pthread_rwlock_trywrlock, (pthread_rwlock_t * lock), (lock))
SONREL_COUNT(waits, int, pthread_cond_wait, (pthread_cond_t * condition, pthread_mutex_t* mutex),
             (condition, mutex))
SONREL_COUNT(waits, int, pthread_cond_timedwait,
             (pthread_cond_t * condition, pthread_mutex_t* mutex, const timespec* until),
             (condition, mutex, until))
SONREL_COUNT(waits, int, pthread_cond_clockwait,
             (pthread_cond_t * condition, pthread_mutex_t* mutex, clockid_t clock,
              const timespec* until),
             (condition, mutex, clock, until))
SONREL_COUNT(waits, int, pthread_join, (pthread_t thread, void** result), (thread, result))
SONREL_COUNT(waits, int, sem_wait, (sem_t * semaphore), (semaphore))
SONREL_COUNT(waits, int, sem_timedwait, (sem_t * semaphore, const timespec* until),
             (semaphore, until))
SONREL_COUNT(waits, int, nanosleep, (const timespec* time, timespec* left), (time, left))
SONREL_COUNT(waits, int, clock_nanosleep,
             (clockid_t clock, int flags, const timespec* time, timespec* left),
             (clock, flags, time, left))
SONREL_COUNT(waits, int, usleep, (useconds_t time), (time))
SONREL_COUNT(waits, int, poll, (pollfd * files, nfds_t count, int timeout), (files, count, timeout))

SONREL_COUNT(fileCalls, FILE*, fopen, (const char* name, const char* mode), (name, mode))
SONREL_COUNT(fileCalls, FILE*, fopen64, (const char* name, const char* mode), (name, mode))
SONREL_COUNT(fileCalls, std::size_t, fread,
             (void* to, std::size_t size, std::size_t count, FILE* file), (to, size, count, file))
SONREL_COUNT(fileCalls, std::size_t, fwrite,
             (const void* from, std::size_t size, std::size_t count, FILE* file),
             (from, size, count, file))
SONREL_COUNT(fileCalls, ssize_t, read, (int file, void* to, std::size_t size), (file, to, size))
SONREL_COUNT(fileCalls, ssize_t, write, (int file, const void* from, std::size_t size),
             (file, from, size))
SONREL_COUNT(fileCalls, ssize_t, pread64, (int file, void* to, std::size_t size, off64_t at),
             (file, to, size, at))
SONREL_COUNT(fileCalls, ssize_t, pwrite64,
             (int file, const void* from, std::size_t size, off64_t at), (file, from, size, at))
SONREL_COUNT(fileCalls, int, close, (int file), (file))
SONREL_COUNT(fileCalls, int, fsync, (int file), (file))
SONREL_COUNT(fileCalls, void*, mmap,
             (void* at, std::size_t size, int protection, int flags, int file, off_t offset),
             (at, size, protection, flags, file, offset))
SONREL_COUNT(fileCalls, int, munmap, (void* at, std::size_t size), (at, size))

// With a mode whether the call has one or not: the library reads it only where it is meant.
#define SONREL_COUNT_OPEN(name)                                                           \
    int name(const char* path, int flags, ...) {                                          \
        static const auto next =                                                          \
            reinterpret_cast<int (*)(const char*, int, mode_t)>(dlsym(RTLD_NEXT, #name)); \
        std::va_list more;                                                                \
        va_start(more, flags);                                                            \
        const mode_t mode = va_arg(more, mode_t);                                         \
        va_end(more);                                                                     \
        Count(RealTimeProbe::fileCalls);                                                  \
        return next(path, flags, mode);                                                   \
    }

SONREL_COUNT_OPEN(open)
SONREL_COUNT_OPEN(open64)

#undef SONREL_COUNT_OPEN

// The waits of atomics call this. Waking a waiter is not a wait.
long syscall(long number, ...) {
    constexpr long WAIT = 0;
    constexpr long WAIT_BITSET = 9;
    constexpr long COMMAND = 127;  // the other bits are flags
    using Function = long (*)(long, long, long, long, long, long, long);
    static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "syscall"));
    std::va_list more;
    va_start(more, number);
    long values[6] = {};
    for (long& value : values) value = va_arg(more, long);
    va_end(more);
    const long operation = values[1] & COMMAND;
    if (number == SYS_futex && (operation == WAIT || operation == WAIT_BITSET)) {
        Count(RealTimeProbe::waits);
    }
    return next(number, values[0], values[1], values[2], values[3], values[4], values[5]);
}

#undef SONREL_COUNT

}  // extern "C"

#endif
