// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/output/OutputGuard.h"
#include "host/output/OutputStream.h"
#include "host/output/PartialFile.h"

namespace orlo::host {

/// An output of a command. A file appears under its name whole or not at all; a file that had the
/// name before stays until then.
///
/// Through a link the file that it leads to is replaced. A replaced file passes its permissions on.
/// A device such as /dev/null and a named pipe are written directly.
class OutputFile {
public:
    /// @param path   the file to make or to replace
    /// @param guard  outlives the object
    /// @throws JobError when it cannot be made; UsageError for a file that the command reads or
    ///         owns; CommandError when the program is asked to stop
    OutputFile(const std::string& path, OutputGuard& guard);

    /// The name as it was given.
    const std::string& Path() const { return path_; }
    /// As of PartialFile.
    std::string TemporaryName() const { return file_ ? file_->TemporaryName() : std::string(); }
    /// Whether the bytes are gone once they are written: nothing can be replaced.
    bool IsStream() const { return stream_.has_value(); }

    /// Appends bytes. @throws as the constructor
    void Write(std::string_view bytes);
    /// Replaces bytes that are already written. Not for a stream. @throws JobError
    void WriteAt(std::string_view bytes, long long offset);

    /// A file for a writer that seeks; Commit takes its contents. For a file the output itself, for
    /// a stream a temporary file.
    PartialFile& Seekable();

    /// Refuses a job that cannot fit on the disk.
    /// @throws JobError when the file system has less than @p bytes left
    void RequireSpace(long long bytes) const;

    /// Writes everything through to the disk; nothing is written afterwards. With several outputs
    /// all are sealed before the first one takes its name. @throws JobError
    void Seal();

    /// Puts the finished file under its name. @throws as the constructor
    void Commit();

private:
    void CopyToStream(const PartialFile& source);

    std::string path_;
    OutputGuard& guard_;
    OutputTarget target_;
    std::optional<PartialFile> file_;  ///< for a stream only after Seekable
    std::optional<OutputStream> stream_;
    bool sealed_ = false;
};

/// Writes a whole small output in that way. @throws as OutputFile
void WriteWholeFile(const std::string& path, OutputGuard& guard, std::string_view bytes);

}  // namespace orlo::host
