// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string>

/// Opening, syncing and removing of regular files, in one place.
///
/// Names are UTF-8. A call that a signal interrupts is repeated. Failures set errno.
namespace orlo::files {

/// Repeats a system call that a signal interrupted.
template <class Call>
auto Uninterrupted(Call call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR) return result;
    }
}

/// Whether a symbolic link in the last component of a name is followed.
enum class Links { Followed, Refused };

/// Links in /proc/self/fd name files that this process has open already. A link in a folder cannot
/// do that.
inline bool IsOpenDescriptor(const std::string& name) {
    return name.compare(0, 14, "/proc/self/fd/") == 0;
}

/// Opens a regular file and nothing else. Does not wait, for example for the other end of a pipe. A
/// program that this process starts does not inherit the descriptor.
/// @param flags   O_RDONLY, O_WRONLY or O_RDWR, and O_CREAT and O_EXCL
/// @param status  receives the state of the file
/// @return the descriptor, or -1
inline int OpenRegular(const std::string& name, int flags, Links links, struct stat* status) {
    if (name.find('\0') != std::string::npos) {
        errno = EINVAL;
        return -1;
    }
    if (links == Links::Refused && !IsOpenDescriptor(name)) flags |= O_NOFOLLOW;
    const int descriptor = Uninterrupted(
        [&] { return ::open(name.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666); });
    if (descriptor < 0) return -1;
    const bool isRegular = ::fstat(descriptor, status) == 0 && S_ISREG(status->st_mode);
    if (isRegular && ::fcntl(descriptor, F_SETFL, 0) == 0) return descriptor;
    ::close(descriptor);
    errno = EINVAL;
    return -1;
}

/// Opens an existing file for reading. @return the descriptor, or -1
inline int OpenForReading(const std::string& name, Links links) {
    struct stat status = {};
    return OpenRegular(name, O_RDONLY, links, &status);
}

/// Opens a file for writing, and truncates or creates it. Links are followed.
/// @return the descriptor, or -1
inline int OpenEmptied(const std::string& name) {
    struct stat status = {};
    const int descriptor = OpenRegular(name, O_WRONLY | O_CREAT, Links::Followed, &status);
    if (descriptor < 0) return -1;
    if (Uninterrupted([&] { return ::ftruncate(descriptor, 0); }) == 0) return descriptor;
    ::close(descriptor);
    return -1;
}

/// Creates a file for reading and writing under a name that does not exist, not even as a link.
/// @return the descriptor, or -1
inline int OpenNew(const std::string& name) {
    struct stat status = {};
    return OpenRegular(name, O_RDWR | O_CREAT | O_EXCL, Links::Refused, &status);
}

/// Closes a descriptor. The system releases it even when a signal interrupts the call.
/// @return false when the last bytes could not be written
inline bool Close(int descriptor) {
    return ::close(descriptor) == 0 || errno == EINTR;
}

/// Writes all bytes at the position of a descriptor, in as many calls as necessary.
/// @return the bytes written; fewer than @p size after an error
inline std::size_t WriteFully(int descriptor, const void* bytes, std::size_t size) {
    const char* from = static_cast<const char*>(bytes);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t written =
            Uninterrupted([&] { return ::write(descriptor, from + done, size - done); });
        if (written <= 0) break;
        done += static_cast<std::size_t>(written);
    }
    return done;
}

/// Reads at the position of a descriptor, in as many calls as necessary.
/// @return the bytes read; fewer than @p size at the end of the file, with 0 in errno, or after an
///         error
inline std::size_t ReadFully(int descriptor, void* bytes, std::size_t size) {
    char* to = static_cast<char*>(bytes);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t read =
            Uninterrupted([&] { return ::read(descriptor, to + done, size - done); });
        // An interruption before the end has left its number.
        if (read == 0) errno = 0;
        if (read <= 0) break;
        done += static_cast<std::size_t>(read);
    }
    return done;
}

/// Removes a file. @return whether the name no longer exists
inline bool Remove(const std::string& name) {
    if (name.find('\0') != std::string::npos) return false;
    return Uninterrupted([&] { return ::unlink(name.c_str()); }) == 0;
}

/// Writes the data of a file to the disk.
inline bool Sync(int descriptor) {
    return Uninterrupted([&] { return ::fsync(descriptor); }) == 0;
}

/// Starts to write a range of a file to the disk and does not wait for it. Where the system cannot
/// do that, nothing happens. Sync is still necessary.
/// @return false when the range cannot be written
inline bool StartSync(int descriptor, long long first, long long bytes) {
    return Uninterrupted([&] {
               return ::sync_file_range(descriptor, first, bytes, SYNC_FILE_RANGE_WRITE);
           }) == 0 ||
           (errno != EIO && errno != ENOSPC && errno != EDQUOT);
}

enum class FolderSync {
    Done,
    Refused,  ///< the folder may not be listed, or its file system syncs no folders
    Failed
};

/// Writes the entries of the folder of a file to the disk.
inline FolderSync SyncFolderOf(const std::string& name) {
    const std::size_t slash = name.rfind('/');
    const std::string path = slash == std::string::npos ? "." : name.substr(0, slash + 1);
    const int folder =
        Uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (folder < 0) return errno == EACCES ? FolderSync::Refused : FolderSync::Failed;
    const bool synced = Sync(folder);
    const int error = errno;
    ::close(folder);
    if (synced) return FolderSync::Done;
    errno = error;
    const bool isRefused = error == EINVAL || error == ENOTSUP || error == ENOSYS ||
                           error == EBADF || error == EACCES || error == EPERM;
    return isRefused ? FolderSync::Refused : FolderSync::Failed;
}

/// Writes the data of a file and its entry in the folder to the disk. If the folder cannot be
/// synced, the whole file system is synced.
/// @param descriptor  of the file
inline bool SyncWithFolder(const std::string& name, int descriptor) {
    if (!Sync(descriptor)) return false;
    const FolderSync folder = SyncFolderOf(name);
    if (folder != FolderSync::Refused) return folder == FolderSync::Done;
    return Uninterrupted([&] { return ::syncfs(descriptor); }) == 0;
}

/// Syncs a closed file and its entry in its folder. Links are refused.
/// @return false when the file does not exist or cannot be synced
inline bool SyncClosedFile(const std::string& name) {
    const int descriptor = OpenForReading(name, Links::Refused);
    if (descriptor < 0) return false;
    const bool synced = SyncWithFolder(name, descriptor);
    Close(descriptor);
    return synced;
}

}  // namespace orlo::files
