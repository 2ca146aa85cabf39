// SPDX-License-Identifier: MIT
#pragma once

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sonrel/base/Paths.h"

namespace sonrel_tests {

/// A folder of one test, which is removed with its content at the end.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "sonrel-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
        path_ = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    /// The path of a file in the folder.
    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }
    std::wstring Wide(std::string_view name) const {
        return zrtl::FromUtf8((path_ / name).string());
    }

private:
    std::filesystem::path path_;
};

inline void WriteFile(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    std::ostringstream bytes;
    bytes.exceptions(std::ios::badbit);
    bytes << file.rdbuf();
    return std::move(bytes).str();
}

/// The lines of a text file without their line feeds; none for a file that does not exist.
inline std::vector<std::string> ReadLines(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

/// The names of the files in a folder, sorted, except the lock file of a cache folder.
inline std::vector<std::string> NamesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name != ".sonrel-in-use") names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace sonrel_tests
