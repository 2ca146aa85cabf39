// SPDX-License-Identifier: MIT
#include "host/output/OutputTarget.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

[[noreturn]] void Refuse(const std::string& output, const std::string& reason) {
    throw JobError("cannot write " + Quoted(output) + ": " + reason);
}

std::string Advice(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return "; create its folder first";
        case EACCES:
        case EPERM:
        case EROFS:
            return "; choose a folder that may be written";
        case ENOSPC:
        case EDQUOT:
            return "; make room or choose another disk";
        case EFBIG:
            return "; raise the limit with 'ulimit -f'";
        default:
            return "";
    }
}

bool IsLink(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

OutputTarget FreeName(const std::string& output) {
    if (IsLink(output)) {
        Refuse(output,
               "it is a link to a file that does not exist; remove the link or name "
               "its file");
    }
    OutputTarget target;
    target.path = output;
    return target;
}

/// The path of an existing file, with links resolved.
std::string RealPath(const std::string& output) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(output.c_str(), nullptr),
                                                           &std::free);
    if (!real) ThrowWriteError(output, errno);
    return real.get();
}

/// Checks the permission of the owner for every user, since root may write every file.
void RequireWritable(const std::string& output, mode_t mode) {
    if ((mode & S_IWUSR) != 0) return;
    Refuse(output, "it is write-protected; use --overwrite to replace it, or choose another name");
}

OutputTarget::Kind KindOf(const std::string& output, mode_t mode, bool overwrite) {
    if (S_ISREG(mode)) return OutputTarget::Kind::File;
    if (S_ISCHR(mode)) return OutputTarget::Kind::Device;
    if (S_ISFIFO(mode)) return OutputTarget::Kind::Pipe;
    if (S_ISDIR(mode)) Refuse(output, "it is a folder; choose a file in it");
    if (!S_ISBLK(mode)) Refuse(output, "it is a socket; choose another name");
    if (!overwrite) {
        Refuse(output,
               "it is a disk, whose contents would be lost; use --overwrite to write to it");
    }
    return OutputTarget::Kind::Device;
}

}  // namespace

OutputTarget FindOutputTarget(const std::string& output, bool overwrite) {
    struct stat status = {};
    if (stat(output.c_str(), &status) != 0) {
        if (errno == ENOENT) return FreeName(output);
        ThrowWriteError(output, errno);
    }
    OutputTarget target;
    target.kind = KindOf(output, status.st_mode, overwrite);
    target.identity = FileIdentity::Of(status);
    target.path = output;
    if (target.kind != OutputTarget::Kind::File) return target;
    if (!overwrite) RequireWritable(output, status.st_mode);
    target.path = RealPath(output);
    target.permissions = static_cast<int>(status.st_mode & 0777);
    return target;
}

void ThrowWriteError(const std::string& output, int error) {
    Refuse(output, (error == 0 ? "the write failed" : std::strerror(error)) + Advice(error));
}

}  // namespace orlo::host
