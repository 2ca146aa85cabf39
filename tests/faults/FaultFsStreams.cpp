// SPDX-License-Identifier: MIT
// C streams below the folder, made on descriptors of this library, so that the flushes of the C
// library go through the counted calls.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include "tests/faults/FaultFs.h"

#define SHIM extern "C" __attribute__((visibility("default")))

namespace faultfs {

namespace {

/// The descriptors of the streams of this library, which the C library does not know.
struct Streams {
    std::mutex mutex;
    std::unordered_map<FILE*, int> descriptors;
};

Streams& The() {
    static Streams& streams = *new Streams;
    return streams;
}

struct Stream {
    int descriptor;
    FILE* handle;
};

ssize_t ReadStream(void* cookie, char* buffer, std::size_t size) {
    return Read(static_cast<Stream*>(cookie)->descriptor, buffer, size, -1);
}

ssize_t WriteStream(void* cookie, const char* buffer, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t moved =
            Write(static_cast<Stream*>(cookie)->descriptor, buffer + done, size - done, -1);
        if (moved < 0 && errno == EINTR) continue;
        if (moved <= 0) break;
        done += static_cast<std::size_t>(moved);
    }
    return static_cast<ssize_t>(done);
}

int SeekStream(void* cookie, off64_t* position, int whence) {
    const long reached =
        ::syscall(SYS_lseek, static_cast<Stream*>(cookie)->descriptor, *position, whence);
    if (reached < 0) return -1;
    *position = reached;
    return 0;
}

int CloseStream(void* cookie) {
    auto* stream = static_cast<Stream*>(cookie);
    {
        const std::lock_guard<std::mutex> guard(The().mutex);
        The().descriptors.erase(stream->handle);
    }
    const int result = ::close(stream->descriptor);
    delete stream;
    return result;
}

/// @return the flags of a mode text, or -1
int FlagsOf(const char* mode) {
    const int access = std::strchr(mode, '+') != nullptr ? O_RDWR
                       : mode[0] == 'r'                  ? O_RDONLY
                                                         : O_WRONLY;
    int flags = 0;
    switch (mode[0]) {
        case 'r':
            flags = access;
            break;
        case 'w':
            flags = access | O_CREAT | O_TRUNC;
            break;
        case 'a':
            flags = access | O_CREAT | O_APPEND;
            break;
        default:
            return -1;
    }
    if (std::strchr(mode, 'x') != nullptr) flags |= O_EXCL;
    if (std::strchr(mode, 'e') != nullptr) flags |= O_CLOEXEC;
    return flags;
}

FILE* OpenStream(const char* path, const char* mode) {
    const int flags = FlagsOf(mode);
    if (flags < 0) {
        errno = EINVAL;
        return nullptr;
    }
    const int descriptor = Open(AT_FDCWD, path, flags, 0666);
    if (descriptor < 0) return nullptr;
    const char plain[] = {mode[0], std::strchr(mode, '+') != nullptr ? '+' : '\0', '\0'};
    auto* stream = new Stream{descriptor, nullptr};
    stream->handle =
        ::fopencookie(stream, plain, {ReadStream, WriteStream, SeekStream, CloseStream});
    const std::lock_guard<std::mutex> guard(The().mutex);
    The().descriptors[stream->handle] = descriptor;
    return stream->handle;
}

/// @return the descriptor of a stream of this library, or -1
int DescriptorOf(FILE* stream) {
    const std::lock_guard<std::mutex> guard(The().mutex);
    const auto found = The().descriptors.find(stream);
    return found == The().descriptors.end() ? -1 : found->second;
}

template <class Function>
Function* RealOf(const char* name, Function*) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

}  // namespace faultfs

using namespace faultfs;

SHIM FILE* fopen(const char* path, const char* mode) {
    static auto* const real = RealOf("fopen", &::fopen);
    return Watched(AT_FDCWD, path) ? OpenStream(path, mode) : real(path, mode);
}
SHIM FILE* fopen64(const char* path, const char* mode) {
    static auto* const real = RealOf("fopen64", &::fopen64);
    return Watched(AT_FDCWD, path) ? OpenStream(path, mode) : real(path, mode);
}
SHIM int fileno(FILE* stream) noexcept {
    static auto* const real = RealOf("fileno", &::fileno);
    const int own = DescriptorOf(stream);
    return own >= 0 ? own : real(stream);
}
SHIM int fileno_unlocked(FILE* stream) noexcept {
    static auto* const real = RealOf("fileno_unlocked", &::fileno_unlocked);
    const int own = DescriptorOf(stream);
    return own >= 0 ? own : real(stream);
}
