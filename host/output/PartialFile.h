// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orlo::host {

/// A file that is being written and has no name yet. Without MoveTo the destructor removes it.
///
/// On a file system without nameless files it has a hidden temporary name.
class PartialFile {
public:
    /// @param name         a path in the folder of the new file, usually its later name
    /// @param label        name of the file in messages
    /// @param permissions  of the finished file; unset means the defaults of a new file
    /// @throws JobError when it cannot be created
    PartialFile(const std::string& name, std::string label,
                std::optional<int> permissions = std::nullopt);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    /// A path of the open file.
    std::string OpenPath() const { return "/proc/self/fd/" + std::to_string(descriptor_); }
    const std::string& Label() const { return label_; }
    /// The hidden name, to be removed by a program that ends without the destructor; empty when the
    /// file has none.
    const std::string& TemporaryName() const { return temporary_; }

    /// Appends bytes. The system begins to write them to the disk after some megabytes.
    /// @throws JobError
    void Write(std::string_view bytes);
    /// Replaces bytes that are already written. @throws JobError
    void WriteAt(std::string_view bytes, long long offset);
    /// Reads bytes from an offset. @return number of bytes; 0 at the end @throws JobError
    std::size_t ReadAt(char* bytes, std::size_t count, long long offset) const;

    /// Refuses a job that cannot fit on the disk.
    /// @throws JobError when the file system has less than @p bytes left
    void RequireSpace(long long bytes) const;

    /// Flushes the file to the disk. @throws JobError
    void Sync() const;

    /// Closes the file and moves it to a name in the same folder.
    /// @param mustBeFree  whether an existing file with the name is kept
    /// @return false when an existing file was kept; the call may be repeated
    /// @throws JobError
    bool MoveTo(const std::string& target, bool mustBeFree);

private:
    bool OpenNameless(const std::string& folder);
    void OpenTemporary();
    void GiveTemporaryName();
    void StartWriteBack();
    void Close();
    bool Rename(const std::string& target, bool mustBeFree) const;

    std::string name_;
    std::string label_;
    std::string temporary_;  ///< the hidden name, while it exists
    std::optional<int> permissions_;
    int descriptor_ = -1;
    long long written_ = 0;       ///< bytes that were appended
    long long writeBackEnd_ = 0;  ///< bytes that the system was asked to write to the disk
};

}  // namespace orlo::host
