// SPDX-License-Identifier: MIT
// The free space of the disk that the program reads.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/statvfs.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "tests/faults/FaultFs.h"

#define SHIM extern "C" __attribute__((visibility("default")))
/// Declares `real`, the function of that name in the C library.
#define REAL(name) \
    static const auto real = reinterpret_cast<decltype(&::name)>(::dlsym(RTLD_NEXT, #name))

namespace {

/// Reports FAULTFS_FREE bytes for a watched path.
int Limit(const std::optional<std::string>& watched, int result, struct statvfs* disk) {
    const char* bytes = std::getenv("FAULTFS_FREE");
    if (result != 0 || !watched || bytes == nullptr) return result;
    disk->f_frsize = 1;
    disk->f_bavail = static_cast<fsblkcnt_t>(std::atoll(bytes));
    return result;
}

}  // namespace

SHIM int statvfs(const char* path, struct statvfs* disk) noexcept {
    REAL(statvfs);
    return Limit(faultfs::Watched(AT_FDCWD, path), real(path, disk), disk);
}

SHIM int fstatvfs(int descriptor, struct statvfs* disk) noexcept {
    REAL(fstatvfs);
    return Limit(faultfs::PathOf(descriptor), real(descriptor, disk), disk);
}
