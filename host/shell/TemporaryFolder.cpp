// SPDX-License-Identifier: MIT
#include "host/shell/TemporaryFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

/// Maximum number of temporary folders at the same time.
constexpr std::size_t MAX_FOLDERS = 4;

/// The paths of the existing folders; null where there is none.
std::array<std::atomic<const char*>, MAX_FOLDERS> temporaryFolders{};
static_assert(std::atomic<const char*>::is_always_lock_free, "a signal handler reads the paths");

void ReplaceFolder(const char* before, const char* after) {
    for (std::atomic<const char*>& folder : temporaryFolders) {
        const char* expected = before;
        if (folder.compare_exchange_strong(expected, after)) return;
    }
}

void RemoveEntry(int parent, const char* name);

/// Removes the entries of an open folder without allocating memory.
void EmptyFolder(int folder) {
    alignas(dirent64) std::array<char, 4096> buffer;
    for (;;) {
        const ssize_t size = getdents64(folder, buffer.data(), buffer.size());
        if (size <= 0) return;
        for (ssize_t at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + at);
            const std::string_view name = entry->d_name;
            if (name != "." && name != "..") RemoveEntry(folder, entry->d_name);
            at += entry->d_reclen;
        }
    }
}

void RemoveEntry(int parent, const char* name) {
    if (files::Uninterrupted([&] { return unlinkat(parent, name, 0); }) == 0) return;
    const int folder = files::Uninterrupted(
        [&] { return openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); });
    if (folder < 0) return;
    EmptyFolder(folder);
    close(folder);
    files::Uninterrupted([&] { return unlinkat(parent, name, AT_REMOVEDIR); });
}

}  // namespace

TemporaryFolder::TemporaryFolder() : path_((fs::temp_directory_path() / "sonrel-XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) {
        throw JobError("cannot create the temporary folder " + Quoted(path_) + ": " +
                       std::strerror(errno) + "; set TMPDIR to another folder");
    }
    ReplaceFolder(nullptr, path_.c_str());
}

TemporaryFolder::~TemporaryFolder() {
    ReplaceFolder(path_.c_str(), nullptr);
    RemoveEntry(AT_FDCWD, path_.c_str());
    // Once more after a failure that passes, for example a lack of descriptors.
    std::error_code error;
    if (fs::exists(path_, error) || error) RemoveEntry(AT_FDCWD, path_.c_str());
}

void RemoveTemporaryFolders() {
    for (const std::atomic<const char*>& folder : temporaryFolders) {
        if (const char* const path = folder) RemoveEntry(AT_FDCWD, path);
    }
}

}  // namespace orlo::host
