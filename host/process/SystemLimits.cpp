// SPDX-License-Identifier: MIT
#include "host/process/SystemLimits.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstddef>

#include "host/shell/Errors.h"

namespace orlo::host {

namespace {

constexpr std::size_t MEGABYTES = 64;
/// More descriptors than the creation of a cache file needs at a time.
constexpr std::size_t DESCRIPTORS = 8;

}  // namespace

void RequireMemory() {
    constexpr std::size_t BYTES = MEGABYTES << 20;
    void* const room = mmap(nullptr, BYTES, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED) {
        throw JobError("there is not enough memory: a command needs at least " +
                       std::to_string(MEGABYTES) +
                       " MB; end other programs, or allow more (ulimit -v)");
    }
    munmap(room, BYTES);
}

std::string DescriptorErrorMessage() {
    std::array<int, DESCRIPTORS> opened = {};
    for (int& descriptor : opened) descriptor = open("/", O_PATH | O_CLOEXEC);
    const bool isShort = opened.back() < 0;
    for (const int descriptor : opened) {
        if (descriptor >= 0) close(descriptor);
    }
    return isShort ? "too many files are open; allow more (ulimit -n)" : "";
}

std::string SystemErrorText(const std::system_error& error) {
    if (error.code() != std::errc::resource_unavailable_try_again) return error.what();
    return "a thread cannot be started; allow more memory (ulimit -v) or processes (ulimit -u)";
}

}  // namespace orlo::host
