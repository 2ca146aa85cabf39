// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

/// A library to be loaded in front of the C library (LD_PRELOAD). It watches the file operations
/// below one folder and makes a chosen one fail, come short, or kill the process.
///
/// Every operation below FAULTFS_ROOT is classified, counted where its class and name match, and,
/// at the chosen count, disturbed. Everything else passes through untouched.
///
///   FAULTFS_ROOT     the folder, absolute. Nothing happens without it
///   FAULTFS_OPS      comma list of the classes that count: open create write read fsync truncate
///                    rename unlink mkdir close stat lock (of an open file
///                    description). Default: create,write,fsync,truncate,rename,
///                    unlink,mkdir
///   FAULTFS_MATCH    pattern on the base name ("*.xwmc"). Default: everything
///   FAULTFS_AT       number of the operation to disturb, from 1; 0 disturbs none
///   FAULTFS_TIMES    how many operations from there on; "all" is for ever. Default 1
///   FAULTFS_ERR      name or number of the error given back. Default EIO
///   FAULTFS_MODE     fail       the operation fails and nothing is done (default)
///                    short      a read or write moves about half; other classes fail
///                    torn       half a write, then death; other classes fail
///                    kill       death before the operation
///                    killafter  death right after it
///                    storm      each operation fails three times, then goes through
///                    none       only count, log and record
///                    stop       the process stops before the operation, until a SIGCONT
///   FAULTFS_QUOTA    bytes that may be written below the folder in all; beyond, writes come short
///                    and then fail with ENOSPC
///   FAULTFS_FREE     bytes that the disk of the folder reports as free
///   FAULTFS_LOG      text file: a line for each counted operation, "<n> <class> <HIT|-> <bytes>
///                    <path>"
///   FAULTFS_JOURNAL  binary file: every change with its data, for powercut.py
///
/// It sees what goes through the dynamic linker, C streams included: a stream below the folder is
/// made anew on a descriptor of ours, so that each flush of its buffer is a write that counts. It
/// does not see stores through a mapping, raw system calls and streams made of a descriptor.
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

/// What becomes of one operation.
enum class Verdict {
    Go,
    Refuse,       ///< fail with Error()
    Half,         ///< move half
    HalfThenDie,  ///< move half, then Die()
    ThenDie       ///< do it, then Die()
};

/// Kinds of journal records; the numbers are those of powercut.py.
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

/// Counts an operation and says what becomes of it. May kill the process.
/// @param bytes  for the log
Verdict Judge(Operation operation, const std::string& path, long long bytes = 0);
inline bool Fails(Verdict verdict) {
    return verdict != Verdict::Go && verdict != Verdict::ThenDie;
}
/// The error that a refused operation gives back.
int Error();
[[noreturn]] void Die();

/// Bytes of @p wanted that still fit on the disk; nothing when it is full.
std::optional<std::size_t> TakeFromQuota(std::size_t wanted);

/// The absolute path when it lies below the folder. Links are not resolved.
/// @param folder  descriptor that a relative path starts from, or AT_FDCWD
std::optional<std::string> Watched(int folder, const char* path);
/// The path that a descriptor was opened with, when it is a watched one.
std::optional<std::string> PathOf(int descriptor);
void Remember(int descriptor, const std::string& path);
void Forget(int descriptor);

/// Whether anything is to be recorded.
bool HasJournal();
/// Adds a record. Keeps errno.
void WriteRecord(Record kind, const std::string& path, const std::string& secondPath = {},
                 std::uint64_t inode = 0, std::uint64_t offset = 0, std::uint64_t length = 0,
                 const void* data = nullptr);
/// 0 where it cannot be told.
std::uint64_t InodeOf(int descriptor);

/// The body of every open.
int Open(int folder, const char* path, int flags, mode_t mode);
/// The bodies of every read and write. @param at  below 0: at the descriptor's own position
ssize_t Read(int descriptor, void* buffer, std::size_t size, off64_t at);
ssize_t Write(int descriptor, const void* buffer, std::size_t size, off64_t at);

}  // namespace faultfs
