// SPDX-License-Identifier: MIT
// The functions that replace functions of the C library.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "tests/faults/FaultFs.h"

#define SHIM extern "C" __attribute__((visibility("default")))
/// Declares `real`, the function of that name in the C library.
#define REAL(name) \
    static const auto real = reinterpret_cast<decltype(&::name)>(::dlsym(RTLD_NEXT, #name))

namespace faultfs {

namespace {

template <class Result>
Result Refused(Result failure) {
    errno = Error();
    return failure;
}

/// A call without a transfer: -1 where it is refused, else its result.
template <class Call>
int Simple(Operation operation, const std::string& path, Call call) {
    const Verdict verdict = Judge(operation, path);
    if (Fails(verdict)) return Refused(-1);
    const int result = call();
    if (verdict == Verdict::ThenDie) Die();
    return result;
}

bool IsThere(int folder, const char* path) {
    struct stat status {};
    return ::syscall(SYS_newfstatat, folder, path, &status, 0) == 0;
}

bool IsFolder(int descriptor) {
    struct stat status {};
    return ::syscall(SYS_newfstatat, descriptor, "", &status, AT_EMPTY_PATH) == 0 &&
           S_ISDIR(status.st_mode);
}

/// The position of a write at the position of the descriptor.
off64_t PositionOf(int descriptor) {
    const long flags = ::syscall(SYS_fcntl, descriptor, F_GETFL);
    struct stat status {};
    if (flags >= 0 && (flags & O_APPEND) != 0 &&
        ::syscall(SYS_newfstatat, descriptor, "", &status, AT_EMPTY_PATH) == 0) {
        return status.st_size;
    }
    return ::syscall(SYS_lseek, descriptor, 0, SEEK_CUR);
}

ssize_t RealRead(int descriptor, void* buffer, std::size_t size, off64_t at) {
    REAL(read);
    static const auto realAt =
        reinterpret_cast<decltype(&::pread64)>(::dlsym(RTLD_NEXT, "pread64"));
    return at < 0 ? real(descriptor, buffer, size) : realAt(descriptor, buffer, size, at);
}

ssize_t RealWrite(int descriptor, const void* buffer, std::size_t size, off64_t at) {
    REAL(write);
    static const auto realAt =
        reinterpret_cast<decltype(&::pwrite64)>(::dlsym(RTLD_NEXT, "pwrite64"));
    return at < 0 ? real(descriptor, buffer, size) : realAt(descriptor, buffer, size, at);
}

template <class Transfer>
ssize_t Each(const iovec* parts, int count, Transfer transfer) {
    ssize_t total = 0;
    for (int i = 0; i < count; ++i) {
        const ssize_t moved = transfer(parts[i], total);
        if (moved < 0) return total > 0 ? total : -1;
        total += moved;
        if (static_cast<std::size_t>(moved) < parts[i].iov_len) break;
    }
    return total;
}

/// Syncs a watched descriptor and records it.
template <class Call>
int Sync(int descriptor, Call real) {
    const auto path = PathOf(descriptor);
    if (!path) return real(descriptor);
    return Simple(Operation::Fsync, *path, [&] {
        const int result = real(descriptor);
        if (result == 0) {
            WriteRecord(IsFolder(descriptor) ? Record::FsyncFolder : Record::Fsync, *path, {},
                        InodeOf(descriptor));
        }
        return result;
    });
}

template <class Call>
int Cut(int descriptor, off64_t length, Call real) {
    const auto path = PathOf(descriptor);
    if (!path) return real(descriptor, length);
    return Simple(Operation::Truncate, *path, [&] {
        const int result = real(descriptor, length);
        if (result == 0) {
            WriteRecord(Record::Truncate, *path, {}, InodeOf(descriptor), 0,
                        static_cast<std::uint64_t>(length));
        }
        return result;
    });
}

/// Locks of an open file description are counted. All other calls pass.
template <class Call>
int Control(int descriptor, int command, void* argument, Call real) {
    const bool isLock = command == F_OFD_SETLK || command == F_OFD_SETLKW || command == F_OFD_GETLK;
    const auto path = isLock ? PathOf(descriptor) : std::nullopt;
    const auto call = [&] { return real(descriptor, command, argument); };
    return path ? Simple(Operation::Lock, *path, call) : call();
}

int Rename(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    const auto call = [&] {
        return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
    };
    const auto first = Watched(fromFolder, from);
    const auto second = Watched(toFolder, to);
    if (!first && !second) return call();
    return Simple(Operation::Rename, second ? *second : *first, [&] {
        const int result = call();
        if (result == 0) WriteRecord(Record::Rename, first.value_or(from), second.value_or(to));
        return result;
    });
}

/// The watched path of a file, given by its path or, without a path, by its open descriptor.
std::string NameOf(int folder, const char* path) {
    constexpr std::string_view DESCRIPTORS = "/proc/self/fd/";
    if (std::string_view(path).substr(0, DESCRIPTORS.size()) == DESCRIPTORS) {
        return PathOf(std::atoi(path + DESCRIPTORS.size())).value_or(path);
    }
    return Watched(folder, path).value_or(path);
}

int Link(int fromFolder, const char* from, int toFolder, const char* to, int flags) {
    const auto call = [&] {
        return static_cast<int>(::syscall(SYS_linkat, fromFolder, from, toFolder, to, flags));
    };
    const auto second = Watched(toFolder, to);
    if (!second) return call();
    return Simple(Operation::Create, *second, [&] {
        const int result = call();
        if (result == 0) WriteRecord(Record::Link, NameOf(fromFolder, from), *second);
        return result;
    });
}

/// Removes or makes one name.
int OneName(Record kind, Operation operation, int folder, const char* path, int argument) {
    const auto call = [&] {
        return static_cast<int>(kind == Record::Mkdir
                                    ? ::syscall(SYS_mkdirat, folder, path, argument)
                                    : ::syscall(SYS_unlinkat, folder, path, argument));
    };
    const auto watched = Watched(folder, path);
    if (!watched) return call();
    return Simple(operation, *watched, [&] {
        const int result = call();
        if (result == 0) WriteRecord(kind, *watched);
        return result;
    });
}

int Unlink(int folder, const char* path, int flags) {
    const Record kind = (flags & AT_REMOVEDIR) != 0 ? Record::Rmdir : Record::Unlink;
    return OneName(kind, Operation::Unlink, folder, path, flags);
}

/// @return whether a stat of a path is refused
bool LookIsRefused(int folder, const char* path) {
    const auto watched = Watched(folder, path);
    return watched && Fails(Judge(Operation::Stat, *watched));
}

int Duplicate(int made, int from) {
    if (made < 0) return made;
    if (const auto path = PathOf(from)) {
        Remember(made, *path);
    } else {
        Forget(made);
    }
    return made;
}

mode_t ModeOf(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

int Open(int folder, const char* path, int flags, mode_t mode) {
    REAL(openat64);
    const auto watched = Watched(folder, path);
    if (!watched) {
        const int descriptor = real(folder, path, flags, mode);
        if (descriptor >= 0) Forget(descriptor);  // the C library may have closed it unseen
        return descriptor;
    }
    const bool nameless = (flags & O_TMPFILE) == O_TMPFILE;
    const bool makes = nameless || ((flags & O_CREAT) != 0 && !IsThere(folder, path));
    return Simple(makes ? Operation::Create : Operation::Open, *watched, [&] {
        const int descriptor = real(folder, path, flags, mode);
        if (descriptor < 0) return descriptor;
        const std::uint64_t inode = InodeOf(descriptor);
        const std::string name =
            nameless ? *watched + "/.tmpfile-" + std::to_string(inode) : *watched;
        Remember(descriptor, name);
        WriteRecord(makes ? Record::Create : Record::Open, name, {}, inode);
        if (!makes && (flags & O_TRUNC) != 0) WriteRecord(Record::Truncate, name, {}, inode);
        return descriptor;
    });
}

ssize_t Read(int descriptor, void* buffer, std::size_t size, off64_t at) {
    const auto path = PathOf(descriptor);
    if (!path) return RealRead(descriptor, buffer, size, at);
    const Verdict verdict = Judge(Operation::Read, *path, static_cast<long long>(size));
    if (verdict == Verdict::Refuse) return Refused<ssize_t>(-1);
    if (verdict == Verdict::Half && size > 1) size /= 2;
    const ssize_t moved = RealRead(descriptor, buffer, size, at);
    if (verdict == Verdict::ThenDie) Die();
    return moved;
}

ssize_t Write(int descriptor, const void* buffer, std::size_t size, off64_t at) {
    const auto path = PathOf(descriptor);
    if (!path) return RealWrite(descriptor, buffer, size, at);
    const Verdict verdict = Judge(Operation::Write, *path, static_cast<long long>(size));
    if (verdict == Verdict::Refuse) return Refused<ssize_t>(-1);
    if (verdict == Verdict::Half && size > 1) size /= 2;
    if (verdict == Verdict::HalfThenDie) size /= 2;
    const auto room = TakeFromQuota(size);
    if (!room) {
        errno = ENOSPC;
        return -1;
    }
    const off64_t position = at < 0 && HasJournal() ? PositionOf(descriptor) : at;
    const ssize_t moved = RealWrite(descriptor, buffer, *room, at);
    if (moved > 0) {
        WriteRecord(Record::Write, *path, {}, InodeOf(descriptor),
                    static_cast<std::uint64_t>(position), static_cast<std::uint64_t>(moved),
                    buffer);
    }
    if (verdict == Verdict::HalfThenDie || verdict == Verdict::ThenDie) Die();
    return moved;
}

}  // namespace faultfs

using namespace faultfs;

#define MODE_ARGUMENT(mode, flags)                \
    va_list arguments;                            \
    va_start(arguments, flags);                   \
    const mode_t mode = ModeOf(flags, arguments); \
    va_end(arguments)

SHIM int open(const char* path, int flags, ...) {
    MODE_ARGUMENT(mode, flags);
    return Open(AT_FDCWD, path, flags, mode);
}
SHIM int open64(const char* path, int flags, ...) {
    MODE_ARGUMENT(mode, flags);
    return Open(AT_FDCWD, path, flags | O_LARGEFILE, mode);
}
SHIM int openat(int folder, const char* path, int flags, ...) {
    MODE_ARGUMENT(mode, flags);
    return Open(folder, path, flags, mode);
}
SHIM int openat64(int folder, const char* path, int flags, ...) {
    MODE_ARGUMENT(mode, flags);
    return Open(folder, path, flags | O_LARGEFILE, mode);
}
SHIM int creat(const char* path, mode_t mode) {
    return Open(AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}
SHIM int creat64(const char* path, mode_t mode) {
    return Open(AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC | O_LARGEFILE, mode);
}
// A fortified build calls these instead of open.
SHIM int __open_2(const char* path, int flags) {
    return Open(AT_FDCWD, path, flags, 0);
}
SHIM int __open64_2(const char* path, int flags) {
    return Open(AT_FDCWD, path, flags, 0);
}
SHIM int __openat_2(int folder, const char* path, int flags) {
    return Open(folder, path, flags, 0);
}
SHIM int __openat64_2(int folder, const char* path, int flags) {
    return Open(folder, path, flags, 0);
}

SHIM int close(int descriptor) {
    REAL(close);
    const auto path = PathOf(descriptor);
    if (!path) return real(descriptor);
    const Verdict verdict = Judge(Operation::Close, *path);
    // The descriptor is closed even where close reports an error.
    Forget(descriptor);
    const int result = real(descriptor);
    if (verdict == Verdict::ThenDie) Die();
    return Fails(verdict) ? Refused(-1) : result;
}
SHIM int dup(int descriptor) noexcept {
    REAL(dup);
    return Duplicate(real(descriptor), descriptor);
}
SHIM int dup2(int from, int to) noexcept {
    REAL(dup2);
    return Duplicate(real(from, to), from);
}
SHIM int dup3(int from, int to, int flags) noexcept {
    REAL(dup3);
    return Duplicate(real(from, to, flags), from);
}

SHIM ssize_t read(int descriptor, void* buffer, std::size_t size) {
    return Read(descriptor, buffer, size, -1);
}
SHIM ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t at) {
    return Read(descriptor, buffer, size, at);
}
SHIM ssize_t pread64(int descriptor, void* buffer, std::size_t size, off64_t at) {
    return Read(descriptor, buffer, size, at);
}
SHIM ssize_t write(int descriptor, const void* buffer, std::size_t size) {
    return Write(descriptor, buffer, size, -1);
}
SHIM ssize_t pwrite(int descriptor, const void* buffer, std::size_t size, off_t at) {
    return Write(descriptor, buffer, size, at);
}
SHIM ssize_t pwrite64(int descriptor, const void* buffer, std::size_t size, off64_t at) {
    return Write(descriptor, buffer, size, at);
}
SHIM ssize_t writev(int descriptor, const iovec* parts, int count) {
    REAL(writev);
    if (!PathOf(descriptor)) return real(descriptor, parts, count);
    return Each(parts, count, [&](const iovec& part, ssize_t) {
        return Write(descriptor, part.iov_base, part.iov_len, -1);
    });
}
SHIM ssize_t pwritev(int descriptor, const iovec* parts, int count, off_t at) {
    REAL(pwritev);
    if (!PathOf(descriptor)) return real(descriptor, parts, count, at);
    return Each(parts, count, [&](const iovec& part, ssize_t done) {
        return Write(descriptor, part.iov_base, part.iov_len, at + done);
    });
}
// Copies inside the system cannot be intercepted: these refusals make a caller read and write.
SHIM ssize_t sendfile(int to, int from, off_t* at, std::size_t size) noexcept {
    REAL(sendfile);
    if (!PathOf(to)) return real(to, from, at, size);
    errno = EINVAL;
    return -1;
}
SHIM ssize_t sendfile64(int to, int from, off64_t* at, std::size_t size) noexcept {
    REAL(sendfile64);
    if (!PathOf(to)) return real(to, from, at, size);
    errno = EINVAL;
    return -1;
}
SHIM ssize_t copy_file_range(int from, off64_t* fromAt, int to, off64_t* toAt, std::size_t size,
                             unsigned flags) {
    REAL(copy_file_range);
    if (!PathOf(to)) return real(from, fromAt, to, toAt, size, flags);
    errno = EXDEV;
    return -1;
}

SHIM int fsync(int descriptor) {
    REAL(fsync);
    return Sync(descriptor, real);
}
SHIM int fdatasync(int descriptor) {
    REAL(fdatasync);
    return Sync(descriptor, real);
}
SHIM int syncfs(int descriptor) noexcept {
    REAL(syncfs);
    return Sync(descriptor, real);
}
SHIM int ftruncate(int descriptor, off_t length) noexcept {
    REAL(ftruncate);
    return Cut(descriptor, length, real);
}
SHIM int ftruncate64(int descriptor, off64_t length) noexcept {
    REAL(ftruncate64);
    return Cut(descriptor, length, real);
}
SHIM int posix_fallocate(int descriptor, off_t from, off_t length) {
    REAL(posix_fallocate);
    const auto path = PathOf(descriptor);
    // Returns the error instead of setting it.
    if (path && Fails(Judge(Operation::Write, *path, length))) return Error();
    return real(descriptor, from, length);
}
SHIM int posix_fallocate64(int descriptor, off64_t from, off64_t length) {
    REAL(posix_fallocate64);
    const auto path = PathOf(descriptor);
    if (path && Fails(Judge(Operation::Write, *path, length))) return Error();
    return real(descriptor, from, length);
}
SHIM int fallocate(int descriptor, int mode, off_t from, off_t length) {
    REAL(fallocate);
    const auto path = PathOf(descriptor);
    if (path && Fails(Judge(Operation::Write, *path, length))) return Refused(-1);
    return real(descriptor, mode, from, length);
}

SHIM int rename(const char* from, const char* to) noexcept {
    return Rename(AT_FDCWD, from, AT_FDCWD, to, 0);
}
SHIM int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    return Rename(fromFolder, from, toFolder, to, 0);
}
SHIM int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                   unsigned flags) noexcept {
    return Rename(fromFolder, from, toFolder, to, flags);
}
SHIM int link(const char* from, const char* to) noexcept {
    return Link(AT_FDCWD, from, AT_FDCWD, to, 0);
}
SHIM int linkat(int fromFolder, const char* from, int toFolder, const char* to,
                int flags) noexcept {
    return Link(fromFolder, from, toFolder, to, flags);
}
SHIM int unlink(const char* path) noexcept {
    return Unlink(AT_FDCWD, path, 0);
}
SHIM int unlinkat(int folder, const char* path, int flags) noexcept {
    return Unlink(folder, path, flags);
}
SHIM int rmdir(const char* path) noexcept {
    return Unlink(AT_FDCWD, path, AT_REMOVEDIR);
}
SHIM int remove(const char* path) noexcept {
    struct stat status {};
    const bool folder =
        ::syscall(SYS_newfstatat, AT_FDCWD, path, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISDIR(status.st_mode);
    return Unlink(AT_FDCWD, path, folder ? AT_REMOVEDIR : 0);
}
SHIM int mkdir(const char* path, mode_t mode) noexcept {
    return OneName(Record::Mkdir, Operation::Mkdir, AT_FDCWD, path, static_cast<int>(mode));
}
SHIM int mkdirat(int folder, const char* path, mode_t mode) noexcept {
    return OneName(Record::Mkdir, Operation::Mkdir, folder, path, static_cast<int>(mode));
}

SHIM int fcntl(int descriptor, int command, ...) {
    REAL(fcntl);
    va_list arguments;
    va_start(arguments, command);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return Control(descriptor, command, argument, real);
}
SHIM int fcntl64(int descriptor, int command, ...) {
    REAL(fcntl64);
    va_list arguments;
    va_start(arguments, command);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return Control(descriptor, command, argument, real);
}

SHIM int access(const char* path, int mode) noexcept {
    REAL(access);
    return LookIsRefused(AT_FDCWD, path) ? Refused(-1) : real(path, mode);
}
SHIM int stat(const char* path, struct stat* status) noexcept {
    if (LookIsRefused(AT_FDCWD, path)) return Refused(-1);
    return static_cast<int>(::syscall(SYS_newfstatat, AT_FDCWD, path, status, 0));
}
SHIM int stat64(const char* path, struct stat64* status) noexcept {
    if (LookIsRefused(AT_FDCWD, path)) return Refused(-1);
    return static_cast<int>(::syscall(SYS_newfstatat, AT_FDCWD, path, status, 0));
}
SHIM int statx(int folder, const char* path, int flags, unsigned mask,
               struct statx* status) noexcept {
    REAL(statx);
    if (*path != '\0' && LookIsRefused(folder, path)) return Refused(-1);
    return real(folder, path, flags, mask, status);
}
