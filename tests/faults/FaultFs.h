// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

/// A library to be loaded before the C library (LD_PRELOAD). It monitors the file operations below
/// one folder and makes a chosen operation fail, transfer less, or kill the process.
///
/// Every operation below FAULTFS_ROOT is classified, counted where its class and name match, and,
/// at the chosen count, disturbed. All other operations pass unchanged.
///
///   FAULTFS_ROOT     the folder, absolute. Without it the library does nothing
///   FAULTFS_OPS      comma list of the classes that count: open create write read fsync truncate
///                    rename unlink mkdir close stat lock (of an open file
///                    description). Default: create,write,fsync,truncate,rename,
///                    unlink,mkdir
///   FAULTFS_MATCH    pattern on the base name ("*.xwmc"). Default: all
///   FAULTFS_AT       number of the operation to disturb, from 1; 0 disturbs none
///   FAULTFS_TIMES    how many operations from there on; "all": without end. Default 1
///   FAULTFS_ERR      name or number of the error returned. Default EIO
///   FAULTFS_MODE     fail       the operation fails and nothing is done (default)
///                    short      a read or write transfers about half; other classes fail
///                    torn       half a write, then the process is killed; other classes fail
///                    kill       the process is killed before the operation
///                    killafter  the process is killed after the operation
///                    storm      each operation fails three times, then succeeds
///                    none       only count, log and record
///                    stop       the process stops before the operation, until a SIGCONT
///   FAULTFS_QUOTA    bytes that may be written below the folder in total; then writes transfer
///                    less and fail with ENOSPC
///   FAULTFS_FREE     bytes that the disk of the folder reports as free
///   FAULTFS_LOG      text file: a line for each counted operation, "<n> <class> <HIT|-> <bytes>
///                    <path>"
///   FAULTFS_JOURNAL  binary file: every change with its data, for powercut.py
///
/// It intercepts calls that go through the dynamic linker, C streams included: a stream below the
/// folder is made on a descriptor of this library, so that each flush of its buffer is a counted
/// write. It does not intercept stores through a mapping, raw system calls and streams made of a
/// descriptor.
namespace faultfs {

enum class Operation {
    Open,
    Create,
    Write,
    Read,
    Fsync,
    Truncate,
    Rename,
    Unlink,
    Mkdir,
    Close,
    Stat,
    Lock
};

/// The result of one operation.
enum class Verdict {
    Go,
    Refuse,       ///< fail with Error()
    Half,         ///< transfer half
    HalfThenDie,  ///< transfer half, then Die()
    ThenDie       ///< do it, then Die()
};

/// Kinds of journal records, with the numbers of powercut.py.
enum class Record : std::uint32_t {
    Create = 1,
    Open,
    Write,
    Truncate,
    Fsync,
    FsyncFolder,
    Rename,
    Unlink,
    Mkdir,
    Link,
    Rmdir
};

/// Counts an operation and returns its result. May kill the process.
/// @param bytes  for the log
Verdict Judge(Operation operation, const std::string& path, long long bytes = 0);
inline bool Fails(Verdict verdict) {
    return verdict != Verdict::Go && verdict != Verdict::ThenDie;
}
/// The error of a refused operation.
int Error();
[[noreturn]] void Die();

/// Bytes of @p wanted that still fit on the disk; nullopt when it is full.
std::optional<std::size_t> TakeFromQuota(std::size_t wanted);

/// The absolute path when it is below the folder. Links are not resolved.
/// @param folder  descriptor that a relative path starts from, or AT_FDCWD
std::optional<std::string> Watched(int folder, const char* path);
/// The path that a descriptor was opened with, when it is a watched one.
std::optional<std::string> PathOf(int descriptor);
void Remember(int descriptor, const std::string& path);
void Forget(int descriptor);

/// Whether changes are to be recorded.
bool HasJournal();
/// Adds a record. Keeps errno.
void WriteRecord(Record kind, const std::string& path, const std::string& secondPath = {},
                 std::uint64_t inode = 0, std::uint64_t offset = 0, std::uint64_t length = 0,
                 const void* data = nullptr);
/// 0 where it is unknown.
std::uint64_t InodeOf(int descriptor);

/// The body of every open.
int Open(int folder, const char* path, int flags, mode_t mode);
/// The bodies of every read and write. @param at  below 0: at the position of the descriptor
ssize_t Read(int descriptor, void* buffer, std::size_t size, off64_t at);
ssize_t Write(int descriptor, const void* buffer, std::size_t size, off64_t at);

}  // namespace faultfs
