// SPDX-License-Identifier: MIT
#include "sonrel/media/input/InputFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sonrel/base/Paths.h"
#include "sonrel/media/input/ThreadScopes.h"

namespace zrh::media::detail {
namespace {

/// Bytes that one system call reads. It cannot be interrupted meanwhile.
constexpr std::size_t MAX_CALL_BYTES = 4 << 20;

MediaError ErrorOfErrno(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return MediaError::NotFound;
        case EACCES:
        case EPERM:
            return MediaError::NoPermission;
        case ENXIO:
        case EISDIR:
            return MediaError::NotRegularFile;
        case EMFILE:
        case ENFILE:
            return MediaError::TooManyFiles;
        case ENOMEM:
            return MediaError::OutOfMemory;
        default:
            return MediaError::OpenFailed;
    }
}

bool FitsUtf8(const std::wstring& path) {
    return std::none_of(path.begin(), path.end(), [](wchar_t character) {
        const auto code = static_cast<char32_t>(character);
        return code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF);
    });
}

}  // namespace

MediaError InputFile::Open(const std::wstring& path, std::shared_ptr<const InputFile>* file) {
    if (!FitsUtf8(path)) return MediaError::BadName;
    std::shared_ptr<InputFile> opened(new InputFile);
    opened->path_ = zrtl::ToUtf8(path);

    // Examined before it is opened, so that a device is never opened; and again afterwards, because
    // the name may refer to another file by then. With O_NONBLOCK a pipe of that name does not
    // block.
    struct stat status = {};
    if (::stat(opened->path_.c_str(), &status) != 0) return ErrorOfErrno(errno);
    if (!S_ISREG(status.st_mode)) return MediaError::NotRegularFile;
    do {
        opened->descriptor_ =
            ::open(opened->path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    } while (opened->descriptor_ < 0 && errno == EINTR);
    if (opened->descriptor_ < 0) return ErrorOfErrno(errno);
    if (::fstat(opened->descriptor_, &status) != 0) return MediaError::OpenFailed;
    if (!S_ISREG(status.st_mode)) return MediaError::NotRegularFile;

    opened->interrupt_ = ThreadScopes::Current().interrupt;
    opened->monitor_ = ThreadScopes::Current().readMonitor;
    opened->identity_ = orlo::files::IdentityOf(status);
    *file = std::move(opened);
    return MediaError::None;
}

InputFile::~InputFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

std::int64_t InputFile::ReadAt(std::int64_t offset, void* buffer, std::size_t size) const {
    auto* to = static_cast<char*>(buffer);
    std::size_t done = 0;
    while (done < size) {
        if (IsInterrupted()) return -1;
        const std::int64_t position = offset + static_cast<std::int64_t>(done);
        const ssize_t got = ::pread(descriptor_, to + done, std::min(size - done, MAX_CALL_BYTES),
                                    static_cast<off_t>(position));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 || (got == 0 && position < Size())) NoteFailure(position, got < 0 ? errno : 0);
        if (got < 0) return -1;
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return static_cast<std::int64_t>(done);
}

/// @param error  errno; 0 for a file that has become shorter
void InputFile::NoteFailure(std::int64_t position, int error) const {
    if (monitor_ == nullptr) return;
    monitor_->NoteFailure("it cannot be read at byte " + std::to_string(position) + ": " +
                          (error == 0 ? "it has become shorter" : std::strerror(error)));
}

}  // namespace zrh::media::detail
