// SPDX-License-Identifier: MIT
#include "host/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>

#include "host/Errors.h"
#include "host/Paths.h"
#include "host/Text.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

std::string FolderOf(const std::string& path) {
    const std::string folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

/// The path itself, or where the link at its end leads.
std::string FollowLinks(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real ? std::string(real.get()) : path;
}

std::string RandomName(const std::string& target) {
    static std::random_device source;
    char suffix[32];
    std::snprintf(suffix, sizeof(suffix), ".%08x%08x.part", source(), source());
    const fs::path path(target);
    // A long name is cut, so that the suffix still fits into a name of 255 bytes.
    const std::string name = '.' + path.filename().string().substr(0, 200) + suffix;
    return (fs::path(FolderOf(target)) / name).string();
}

std::string Advice(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return "; make its folder first";
        case EACCES:
        case EPERM:
        case EROFS:
            return "; choose a folder that may be written";
        case ENOSPC:
        case EDQUOT:
            return "; make room or choose another disk";
        default:
            return "";
    }
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : path_(path), target_(FollowLinks(path)) {
    struct stat status = {};
    if (stat(target_.c_str(), &status) == 0) {
        device_ = S_ISCHR(status.st_mode);
        if (!device_ && !S_ISREG(status.st_mode)) {
            throw JobError("cannot write " + Quoted(path_) + ": it is there and is no file");
        }
        mode_ = static_cast<int>(status.st_mode & 07777);
    }
    Open();
}

OutputFile::~OutputFile() {
    Close();
}

void OutputFile::Fail(int error) const {
    throw JobError("cannot write " + Quoted(path_) + ": " +
                   (error == 0 ? "the write failed" : std::strerror(error)) + Advice(error));
}

void OutputFile::Open() {
    if (device_) {
        descriptor_ = open(target_.c_str(), O_RDWR | O_CLOEXEC);
        if (descriptor_ < 0) Fail(errno);
        return;
    }
    if (!OpenNameless(FolderOf(target_))) OpenTemporary();
    if (mode_ >= 0 && fchmod(descriptor_, static_cast<mode_t>(mode_)) != 0) Fail(errno);
}

/// @return false where the file system has no files without a name
bool OutputFile::OpenNameless(const std::string& folder) {
    descriptor_ = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
    if (descriptor_ >= 0) return true;
    if (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL) return false;
    Fail(errno);
}

void OutputFile::OpenTemporary() {
    const std::string name = RandomName(target_);
    descriptor_ = open(name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (descriptor_ < 0) Fail(errno);
    temporary_ = name;
}

void OutputFile::GiveTemporaryName() {
    const std::string name = RandomName(target_);
    const std::string self = "/proc/self/fd/" + std::to_string(descriptor_);
    if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) != 0) Fail(errno);
    temporary_ = name;
}

void OutputFile::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) Fail(written < 0 ? errno : 0);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void OutputFile::RequireSpace(long long bytes) const {
    struct statvfs disk = {};
    if (device_ || fstatvfs(descriptor_, &disk) != 0) return;
    const double available =
        static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize);
    if (static_cast<double>(bytes) <= available) return;
    throw JobError("cannot write " + Quoted(path_) + ": it takes " +
                   FormatNumber(static_cast<double>(bytes) / 1e6, 1) + " MB and " +
                   FormatNumber(available / 1e6, 1) + " MB are free; make room or choose another " +
                   "disk");
}

void OutputFile::Commit() {
    if (device_) {
        Close();
        return;
    }
    if (fsync(descriptor_) != 0) Fail(errno);
    if (temporary_.empty()) GiveTemporaryName();
    if (rename(temporary_.c_str(), target_.c_str()) != 0) Fail(errno);
    temporary_.clear();
    const int folder = open(FolderOf(target_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
    Close();
}

void OutputFile::Close() {
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
    if (!temporary_.empty()) unlink(temporary_.c_str());
    temporary_.clear();
}

void RequireOtherFile(const std::string& output, const std::string& input) {
    if (IsSameFile(output, input)) {
        throw UsageError("the output " + Quoted(output) + " is the same file as " + Quoted(input) +
                         ", which is read; choose another name");
    }
}

void WriteWholeFile(const std::string& path, std::string_view bytes) {
    OutputFile file(path);
    file.Write(bytes);
    file.Commit();
}

}  // namespace orlo::host
