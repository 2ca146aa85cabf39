// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/FolderLocks.h"

#include <sched.h>

#include <cerrno>
#include <cstdint>

#include "sonrel/files/RegularFile.h"

namespace orlo::sonrel::detail {

namespace {

constexpr std::uint64_t BYTES = 16384;

struct flock Range(short type, long long first, long long length) {
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = first;
    range.l_len = length;
    return range;
}

/// Gives the lock file the read and write permissions of its folder, independent of the umask: a
/// removal takes an exclusive lock, which needs write permission.
void ShareWithFolder(const std::string& name, int descriptor, const struct stat& status) {
    struct stat folder = {};
    if (status.st_uid != ::geteuid()) return;
    if (::stat(name.substr(0, name.rfind('/') + 1).c_str(), &folder) != 0) return;
    const mode_t wanted = (status.st_mode | folder.st_mode) & 0666;
    if (wanted != (status.st_mode & 0777)) ::fchmod(descriptor, wanted);
}

/// With another user's lock file, bytes can be marked and marks can be read, and nothing else.
int OpenLockFile(const std::string& name) {
    struct stat status = {};
    const int descriptor =
        files::OpenRegular(name, O_RDWR | O_CREAT, files::Links::Refused, &status);
    if (descriptor < 0) return files::OpenForReading(name, files::Links::Refused);
    ShareWithFolder(name, descriptor, status);
    return descriptor;
}

bool IsRegularFile(const std::string& name) {
    struct stat status = {};
    return ::lstat(name.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// Whether a lock was refused because another process holds one.
bool IsRefusal(int error) {
    return error == EAGAIN || error == EACCES;
}

bool IsRemoved(int descriptor) {
    struct stat status = {};
    return ::fstat(descriptor, &status) != 0 || status.st_nlink == 0;
}

}  // namespace

FolderLocks::~FolderLocks() {
    if (descriptor_ < 0) return;
    // A forked process that inherited the descriptor would keep the locks.
    struct flock all = Range(F_UNLCK, 0, 0);
    if (process_ == ::getpid()) ::fcntl(descriptor_, F_OFD_SETLK, &all);
    files::Close(descriptor_);
}

long long FolderLocks::ByteOf(const std::string& fileName) {
    std::uint64_t hash = 14695981039346656037u;  // FNV-1a
    for (const char letter : fileName) {
        hash = (hash ^ static_cast<unsigned char>(letter)) * 1099511628211u;
    }
    return static_cast<long long>(hash % BYTES);
}

bool FolderLocks::Mark(const std::string& lockFile, long long byte) {
    const bool isOpen = Open(lockFile);
    Use& use = uses_[byte];
    const bool needsLock = isOpen && !use.isMarked && use.removals == 0;
    if (needsLock && !Lock(F_OFD_SETLK, F_RDLCK, byte) && IsRefusal(errno)) return false;
    use.isMarked = true;
    return true;
}

bool FolderLocks::IsMarked(long long byte) const {
    const auto use = uses_.find(byte);
    return process_ == ::getpid() && use != uses_.end() && use->second.isMarked;
}

bool FolderLocks::BeginRemoval(const std::string& lockFile, long long byte) {
    if (Open(lockFile)) {
        const bool isRefused = !Lock(F_OFD_SETLK, F_WRLCK, byte) &&
                               (IsRefusal(errno) || (errno == EBADF && !IsFree(byte)));
        if (isRefused) return false;
    } else if (IsRegularFile(lockFile)) {
        return false;
    }
    ++uses_[byte].removals;
    return true;
}

void FolderLocks::EndRemoval(long long byte) {
    const auto use = uses_.find(byte);
    if (use == uses_.end() || --use->second.removals > 0) return;
    Lock(F_OFD_SETLK, use->second.isMarked ? F_RDLCK : F_UNLCK, byte);
    if (!use->second.isMarked) uses_.erase(use);
}

bool FolderLocks::AreSupported(const std::string& lockFile) {
    const int descriptor = OpenLockFile(lockFile);
    if (descriptor < 0) return false;
    struct flock range = Range(F_WRLCK, 0, 1);
    const bool areSupported = ::fcntl(descriptor, F_OFD_GETLK, &range) == 0;
    files::Close(descriptor);
    return areSupported;
}

/// Opens the lock file, again if it was removed with its folder.
bool FolderLocks::Open(const std::string& lockFile) {
    DropLocksOfParent();
    if (descriptor_ >= 0 && !IsRemoved(descriptor_)) return true;
    if (descriptor_ >= 0) files::Close(descriptor_);
    descriptor_ = OpenLockFile(lockFile);
    if (descriptor_ < 0) return false;
    for (const auto& [byte, use] : uses_) {
        if (use.isMarked) Lock(F_OFD_SETLKW, F_RDLCK, byte);
    }
    return true;
}

/// A forked process shares the locks of its parent through the descriptor of the parent.
void FolderLocks::DropLocksOfParent() {
    if (process_ == ::getpid()) return;
    process_ = ::getpid();
    if (descriptor_ >= 0) files::Close(descriptor_);
    descriptor_ = -1;
    uses_.clear();
}

bool FolderLocks::Lock(int command, short type, long long byte) const {
    struct flock range = Range(type, byte, 1);
    return files::Uninterrupted([&] { return ::fcntl(descriptor_, command, &range); }) == 0;
}

/// Whether no other process has locked the byte, for a descriptor that cannot take exclusive locks.
bool FolderLocks::IsFree(long long byte) const {
    struct flock range = Range(F_WRLCK, byte, 1);
    return ::fcntl(descriptor_, F_OFD_GETLK, &range) != 0 || range.l_type == F_UNLCK;
}

RemovalWait::RemovalWait(const std::string& lockFile, long long byte)
    : descriptor_(files::OpenForReading(lockFile, files::Links::Refused)) {
    struct flock range = Range(F_RDLCK, byte, 1);
    if (descriptor_ >= 0) {
        files::Uninterrupted([&] { return ::fcntl(descriptor_, F_OFD_SETLKW, &range); });
    } else {
        ::sched_yield();  // without a descriptor it cannot wait
    }
}

RemovalWait::~RemovalWait() {
    if (descriptor_ >= 0) files::Close(descriptor_);
}

}  // namespace orlo::sonrel::detail
