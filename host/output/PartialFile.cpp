// SPDX-License-Identifier: MIT
#include "host/output/PartialFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <random>
#include <utility>

#include "host/output/OutputTarget.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

using files::Uninterrupted;

std::string FolderOf(const std::string& path) {
    const std::string folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::string RandomName(const std::string& target) {
    static std::random_device source;
    char suffix[32];
    std::snprintf(suffix, sizeof(suffix), ".%08x%08x.part", source(), source());
    // A long name is truncated, so that the suffix fits into the limit of 255 bytes.
    const std::string name = '.' + fs::path(target).filename().string().substr(0, 200) + suffix;
    return (fs::path(FolderOf(target)) / name).string();
}

}  // namespace

PartialFile::PartialFile(const std::string& name, std::string label, std::optional<int> permissions)
    : name_(name), label_(std::move(label)), permissions_(permissions) {
    if (!OpenNameless(FolderOf(name_))) OpenTemporary();
    // The owner may write until the file is finished.
    if (permissions_ && fchmod(descriptor_, static_cast<mode_t>(*permissions_) | S_IWUSR) != 0) {
        ThrowWriteError(label_, errno);
    }
}

PartialFile::~PartialFile() {
    if (descriptor_ >= 0) close(descriptor_);
    if (!temporary_.empty()) unlink(temporary_.c_str());
}

/// @return false when the file system does not support nameless files
bool PartialFile::OpenNameless(const std::string& folder) {
    descriptor_ =
        Uninterrupted([&] { return open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666); });
    if (descriptor_ >= 0) return true;
    if (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL) return false;
    ThrowWriteError(label_, errno);
}

void PartialFile::OpenTemporary() {
    const std::string name = RandomName(name_);
    descriptor_ = Uninterrupted([&] {
        return open(name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0666);
    });
    if (descriptor_ < 0) ThrowWriteError(label_, errno);
    temporary_ = name;
}

void PartialFile::GiveTemporaryName() {
    const std::string name = RandomName(name_);
    const int result = Uninterrupted([&] {
        return linkat(AT_FDCWD, OpenPath().c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW);
    });
    if (result != 0) ThrowWriteError(label_, errno);
    temporary_ = name;
}

void PartialFile::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written =
            Uninterrupted([&] { return write(descriptor_, bytes.data(), bytes.size()); });
        if (written <= 0) ThrowWriteError(label_, written < 0 ? errno : 0);
        bytes.remove_prefix(static_cast<std::size_t>(written));
        written_ += written;
    }
    StartWriteBack();
}

/// The disk works while the rest of the file is computed, so that Sync has little left to wait for.
/// Sync reports the failures of the disk.
void PartialFile::StartWriteBack() {
    constexpr long long PIECE = 4 << 20;
    const long long bytes = written_ - writeBackEnd_;
    if (bytes < PIECE) return;
    sync_file_range(descriptor_, writeBackEnd_, bytes, SYNC_FILE_RANGE_WRITE);
    writeBackEnd_ = written_;
}

void PartialFile::WriteAt(std::string_view bytes, long long offset) {
    while (!bytes.empty()) {
        const ssize_t written =
            Uninterrupted([&] { return pwrite(descriptor_, bytes.data(), bytes.size(), offset); });
        if (written <= 0) ThrowWriteError(label_, written < 0 ? errno : 0);
        bytes.remove_prefix(static_cast<std::size_t>(written));
        offset += written;
    }
}

std::size_t PartialFile::ReadAt(char* bytes, std::size_t count, long long offset) const {
    const ssize_t got = Uninterrupted([&] { return pread(descriptor_, bytes, count, offset); });
    if (got < 0) ThrowWriteError(label_, errno);
    return static_cast<std::size_t>(got);
}

void PartialFile::RequireSpace(long long bytes) const {
    struct statvfs disk = {};
    if (fstatvfs(descriptor_, &disk) != 0) return;
    const double available =
        static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize);
    if (static_cast<double>(bytes) <= available) return;
    throw JobError("cannot write " + Quoted(label_) + ": " +
                   FormatNumber(static_cast<double>(bytes) / 1e6, 1) + " MB are needed and " +
                   FormatNumber(available / 1e6, 1) + " MB are free; make room or choose another " +
                   "disk");
}

void PartialFile::Sync() const {
    if (permissions_ && fchmod(descriptor_, static_cast<mode_t>(*permissions_)) != 0) {
        ThrowWriteError(label_, errno);
    }
    if (Uninterrupted([&] { return fsync(descriptor_); }) != 0) ThrowWriteError(label_, errno);
}

/// A failed close still closes the descriptor. The bytes are already synced, so an interrupted
/// close loses nothing.
void PartialFile::Close() {
    if (close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR) {
        ThrowWriteError(label_, errno);
    }
}

bool PartialFile::Rename(const std::string& target, bool mustBeFree) const {
    if (mustBeFree) {
        if (renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) ==
            0) {
            return true;
        }
        if (errno == EEXIST) return false;
        // Some file systems do not support RENAME_NOREPLACE.
        if (errno != EINVAL && errno != ENOSYS) ThrowWriteError(label_, errno);
    }
    if (rename(temporary_.c_str(), target.c_str()) != 0) ThrowWriteError(label_, errno);
    return true;
}

bool PartialFile::MoveTo(const std::string& target, bool mustBeFree) {
    if (descriptor_ >= 0) {
        if (temporary_.empty()) GiveTemporaryName();
        Close();
    }
    if (!Rename(target, mustBeFree)) return false;
    temporary_.clear();
    if (files::SyncFolderOf(target) == files::FolderSync::Failed) ThrowWriteError(label_, errno);
    return true;
}

}  // namespace orlo::host
