// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

namespace orlo::host {

/// A regular file that is open for reading. Calls that a signal interrupts are repeated, and reads
/// of fewer bytes are continued.
///
/// Threads: one caller at a time.
class FileReader {
public:
    /// @throws JobError when the file cannot be opened or is not a regular file
    explicit FileReader(const std::string& path);
    ~FileReader();
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;

    /// Number of bytes when the file was opened.
    long long Size() const { return size_; }

    /// Reads bytes from an offset.
    /// @return number of bytes; less than @p count only at the end of the file
    /// @throws JobError
    std::size_t ReadAt(long long offset, void* bytes, std::size_t count) const;

private:
    std::string path_;
    int descriptor_ = -1;
    long long size_ = 0;
};

}  // namespace orlo::host
