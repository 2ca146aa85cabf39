// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orlo::host {

/// A file that is being written and has no name yet. Without MoveTo it is gone at the end.
///
/// Where the file system knows no files without a name, it has a hidden temporary one.
class PartialFile {
public:
    /// @param name         in the folder of which the file is made; its name later, or any
    /// @param label        the name in messages
    /// @param permissions  of the finished file; empty for those of a new file
    /// @throws JobError when it cannot be made
    PartialFile(const std::string& name, std::string label,
                std::optional<int> permissions = std::nullopt);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    /// A path that leads to the open file.
    std::string OpenPath() const { return "/proc/self/fd/" + std::to_string(descriptor_); }
    const std::string& Label() const { return label_; }
    /// The hidden name, for a program that ends without the destructor; empty where there is none.
    const std::string& TemporaryName() const { return temporary_; }

    /// Appends bytes. @throws JobError
    void Write(std::string_view bytes);
    /// Replaces bytes that are already written. @throws JobError
    void WriteAt(std::string_view bytes, long long offset);
    /// Reads bytes from an offset on. @return how many; 0 at the end @throws JobError
    std::size_t ReadAt(char* bytes, std::size_t count, long long offset) const;

    /// Refuses a job that cannot fit on the disk.
    /// @throws JobError when the file system has less than @p bytes left
    void RequireSpace(long long bytes) const;

    /// Writes everything through to the disk. @throws JobError
    void Sync() const;

    /// Closes the file and puts it under a name in the same folder.
    /// @param mustBeFree  whether a file that has the name stays
    /// @return false where such a file stayed; the call may be repeated
    /// @throws JobError
    bool MoveTo(const std::string& target, bool mustBeFree);

private:
    bool OpenNameless(const std::string& folder);
    void OpenTemporary();
    void GiveTemporaryName();
    void Close();
    bool Rename(const std::string& target, bool mustBeFree) const;

    std::string name_;
    std::string label_;
    std::string temporary_;  ///< the hidden name, while it exists
    std::optional<int> permissions_;
    int descriptor_ = -1;
};

}  // namespace orlo::host
