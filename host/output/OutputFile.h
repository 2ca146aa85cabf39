// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/output/OutputGuard.h"
#include "host/output/OutputStream.h"
#include "host/output/PartialFile.h"

namespace orlo::host {

/// An output of a command. A file appears under its name complete or not at all; an existing file
/// with that name is kept until then.
///
/// For a link, the target is replaced. The new file has the permissions of the replaced file. A
/// device such as /dev/null and a named pipe are written directly.
class OutputFile {
public:
    /// @param path   the file to create or to replace
    /// @param guard  must outlive the object
    /// @throws JobError when it cannot be created; UsageError for a file that the command reads or
    ///         owns; CommandError when the program is asked to stop
    OutputFile(const std::string& path, OutputGuard& guard);

    /// The path from the constructor.
    const std::string& Path() const { return path_; }
    /// As in PartialFile.
    std::string TemporaryName() const { return file_ ? file_->TemporaryName() : std::string(); }
    /// Whether the output is a device or pipe: written bytes cannot be replaced.
    bool IsStream() const { return stream_.has_value(); }

    /// Appends bytes. @throws as in the constructor
    void Write(std::string_view bytes);
    /// Replaces bytes that are already written. Not for a stream. @throws JobError
    void WriteAt(std::string_view bytes, long long offset);

    /// A file for a writer that seeks: the output itself, or for a stream a temporary file, which
    /// Commit copies to the stream.
    PartialFile& Seekable();

    /// Refuses a job that cannot fit on the disk.
    /// @throws JobError when the file system has less than @p bytes left
    void RequireSpace(long long bytes) const;

    /// Flushes the file to the disk; nothing may be written afterwards. Several outputs are all
    /// sealed before the first is committed. @throws JobError
    void Seal();

    /// Makes the finished file appear under its name. @throws as in the constructor
    void Commit();

private:
    void CopyToStream(const PartialFile& source);

    std::string path_;
    OutputGuard& guard_;
    OutputTarget target_;
    std::optional<PartialFile> file_;  ///< for a stream unset until Seekable
    std::optional<OutputStream> stream_;
    bool sealed_ = false;
};

/// Writes a small output as a whole. @throws as in OutputFile
void WriteWholeFile(const std::string& path, OutputGuard& guard, std::string_view bytes);

}  // namespace orlo::host
