// SPDX-License-Identifier: MIT
#include "host/shell/FileReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::host {

namespace {

[[noreturn]] void RefuseToRead(const std::string& path, const std::string& reason) {
    throw JobError("cannot read " + Quoted(path) + ": " + reason);
}

}  // namespace

FileReader::FileReader(const std::string& path) : path_(path) {
    struct stat status = {};
    descriptor_ = files::OpenRegular(path, O_RDONLY, files::Links::Followed, &status);
    if (descriptor_ < 0) {
        const bool isOpened = status.st_mode != 0;
        RefuseToRead(path, isOpened && !S_ISREG(status.st_mode) ? "it is not a regular file"
                                                                : std::strerror(errno));
    }
    size_ = status.st_size;
}

FileReader::~FileReader() {
    files::Close(descriptor_);
}

std::size_t FileReader::ReadAt(long long offset, void* bytes, std::size_t count) const {
    if (lseek(descriptor_, offset, SEEK_SET) < 0) RefuseToRead(path_, std::strerror(errno));
    errno = 0;
    const std::size_t read = files::ReadFully(descriptor_, bytes, count);
    if (read < count && errno != 0) RefuseToRead(path_, std::strerror(errno));
    return read;
}

}  // namespace orlo::host
