// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "sonrel/files/Checksum.h"

namespace orlo::project::utility {

/// A C file stream of bytes, on a regular file only. A path with a zero byte is refused.
///
/// Threads: one at a time.
class BinaryFile {
public:
    BinaryFile() = default;
    ~BinaryFile() { Close(); }
    BinaryFile(BinaryFile&& other) noexcept;
    BinaryFile& operator=(BinaryFile&& other) noexcept;

    /// Opens a file. Links are refused. A file that is open already is closed first.
    bool OpenForReading(const std::wstring& path);
    /// Opens a file and truncates it, or makes it. A file that is open already is closed first.
    bool OpenForWriting(const std::wstring& path);
    /// Makes a file; the name must not exist. A file that is open already is closed first.
    bool OpenNew(const std::wstring& path);
    /// Closes the file, if one is open.
    /// @return false when the last bytes could not be written
    bool Close();
    bool IsOpen() const { return stream_ != nullptr; }

    /// @param origin  SEEK_SET, SEEK_CUR or SEEK_END
    bool Seek(long long offset, int origin);
    /// Reads one item. @return whether the whole item was read
    bool Read(void* item, std::size_t size);
    /// Reads up to @p size bytes. @return the bytes read
    std::size_t ReadSome(void* bytes, std::size_t size);
    /// Writes one item. @return whether the whole item was written
    bool Write(const void* item, std::size_t size);
    /// Flushes the buffer to the system.
    bool Flush();
    /// The checksum of all items written since the file was opened, in order.
    std::uint64_t WrittenChecksum() const;

private:
    /// @param descriptor  owned by this object afterwards; -1 for none
    bool Open(int descriptor, const char* mode);

    std::unique_ptr<char[]> buffer_;  // of the stream, and destroyed after it
    std::FILE* stream_ = nullptr;
    std::unique_ptr<files::Checksum> written_;  // of a file that is open for writing
};

}  // namespace orlo::project::utility
