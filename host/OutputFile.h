// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace orlo::host {

/// A file that appears under its name whole or not at all.
///
/// Until Commit the bytes are in a file without a name in the same folder, or, where the file
/// system knows none, under a hidden temporary name; a file that stood there before stays as it is.
/// Commit syncs, then puts the name on. A link is followed, so that it keeps pointing at its file.
/// A device such as /dev/null is written as it is.
class OutputFile {
public:
    /// @param path  the file to make, or to put in place of the one there
    /// @throws JobError when it cannot be made: a folder, a pipe, no permission
    explicit OutputFile(const std::string& path);
    /// Drops what was written unless it was committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// The open file, for writing and seeking. Stays open until Commit or the end.
    int Descriptor() const { return descriptor_; }
    /// A path that leads to the open file while it has no name yet.
    std::string OpenPath() const { return "/proc/self/fd/" + std::to_string(descriptor_); }
    /// The name as it was given.
    const std::string& Path() const { return path_; }

    /// Appends bytes. @throws JobError
    void Write(std::string_view bytes);

    /// Refuses a job that cannot fit on the disk.
    /// @throws JobError when the file system has less than @p bytes left
    void RequireSpace(long long bytes) const;

    /// Puts the finished file under its name. @throws JobError
    void Commit();

    /// Fails with a clause about this file.
    /// @param error  an errno, or 0 where the system gave none
    [[noreturn]] void Fail(int error) const;

private:
    void Open();
    bool OpenNameless(const std::string& folder);
    void OpenTemporary();
    void GiveTemporaryName();
    void Close();

    std::string path_;
    std::string target_;     ///< the path with links followed
    std::string temporary_;  ///< the hidden name, while it stands
    int descriptor_ = -1;
    int mode_ = -1;  ///< permissions of the file that is replaced
    bool device_ = false;
};

/// Refuses an output that would replace something that is read. @throws UsageError
void RequireOtherFile(const std::string& output, const std::string& input);

/// Writes a whole small file in that way. @throws JobError
void WriteWholeFile(const std::string& path, std::string_view bytes);

}  // namespace orlo::host
