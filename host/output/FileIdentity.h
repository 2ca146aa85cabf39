// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <compare>
#include <optional>
#include <string>

namespace orlo::host {

/// Identity of a file, the same for all links to it and all spellings of its path.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;

    auto operator<=>(const FileIdentity&) const = default;

    static FileIdentity Of(const struct stat& status) { return {status.st_dev, status.st_ino}; }

    /// Follows links. @return nullopt when no file exists at the path
    static std::optional<FileIdentity> At(const std::string& path) {
        struct stat status = {};
        if (stat(path.c_str(), &status) != 0) return std::nullopt;
        return Of(status);
    }
};

}  // namespace orlo::host
