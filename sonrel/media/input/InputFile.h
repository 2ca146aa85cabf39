// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "sonrel/files/FileIdentity.h"
#include "sonrel/media/input/InterruptFlag.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/media/input/ReadMonitor.h"

namespace zrh::media::detail {

using orlo::files::FileIdentity;

/// A regular file, open for reading. Pipes and devices are refused: opening a pipe could block
/// forever, and opening a device could have any effect.
///
/// Threads: any number may read at the same time; there is no shared position.
class InputFile {
public:
    static MediaError Open(const std::wstring& path, std::shared_ptr<const InputFile>* file);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// Reads up to @p size bytes from @p offset. A read that fails is reported to the ReadObserver
    /// of the thread that opened the file.
    /// @return the bytes read, fewer than @p size at the file's end only; -1 when the disk failed
    ///         or the host interrupted
    std::int64_t ReadAt(std::int64_t offset, void* buffer, std::size_t size) const;

    /// Whether the InterruptScope in which the file was opened requests to stop.
    bool IsInterrupted() const { return interrupt_ != nullptr && interrupt_->Poll(); }

    /// The identity of the file when it was opened.
    const FileIdentity& Identity() const { return identity_; }
    std::int64_t Size() const { return identity_.size; }
    const std::string& Path() const { return path_; }

private:
    InputFile() = default;
    void NoteFailure(std::int64_t position, int error) const;

    int descriptor_ = -1;
    std::string path_;
    FileIdentity identity_;
    std::shared_ptr<InterruptFlag> interrupt_;
    std::shared_ptr<ReadMonitor> monitor_;  // null without an observer
};

}  // namespace zrh::media::detail
