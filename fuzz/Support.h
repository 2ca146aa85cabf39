// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include "sonrel/base/Paths.h"
#include "tests/support/TemporaryFolder.h"

/// Helpers of all fuzz targets.
namespace sonrel_fuzz {

/// Ends the process with the name of a broken rule.
inline void Require(bool holds, const char* rule) {
    if (holds) return;
    std::fprintf(stderr, "broken rule: %s\n", rule);
    std::abort();
}

/// Takes numbers from the end of the input; zeros when it is used up.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    template <class Number>
    Number Take() {
        Number number{};
        const std::size_t bytes = std::min(sizeof number, left_);
        left_ -= bytes;
        if (bytes > 0) std::memcpy(&number, data_ + left_, bytes);
        return number;
    }

    /// A number from 0 up to, not including, @p count.
    unsigned int Below(unsigned int count) { return Take<std::uint8_t>() % count; }

    /// The bytes that are left.
    std::string_view Rest() const { return {reinterpret_cast<const char*>(data_), left_}; }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

inline std::string_view AllBytes(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// A file of one input, with a new name each time: the libraries store files by their names.
class InputFile {
public:
    InputFile(std::string_view bytes, std::string_view ending) {
        static const sonrel_tests::TemporaryFolder FOLDER;
        static int files = 0;
        path_ = FOLDER / (std::to_string(++files) + std::string(ending));
        sonrel_tests::WriteFile(path_, bytes);
    }
    ~InputFile() { std::filesystem::remove(path_); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    std::string Path() const { return path_.string(); }
    std::wstring Wide() const { return zrtl::FromUtf8(path_.string()); }

private:
    std::filesystem::path path_;
};

}  // namespace sonrel_fuzz
