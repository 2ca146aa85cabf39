// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace orlo::host {

/// A running SHA-256 of bytes.
class Sha256 {
public:
    /// Number of hexadecimal digits of a value.
    static constexpr std::size_t DIGITS = 64;

    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void Add(const void* bytes, std::size_t size);
    /// Hexadecimal digits in lower case.
    std::string Value() const;

private:
    struct State;

    std::unique_ptr<State> state_;
};

/// The SHA-256 of the content of a file.
/// @param count  receives the number of bytes that were read so far; may be empty
/// @throws JobError when the file cannot be read; CommandError when the program is asked to stop
std::string Sha256OfFile(const std::string& path,
                         const std::function<void(long long bytes)>& count = {});

/// The SHA-256 of a text.
std::string Sha256OfText(const std::string& text);

}  // namespace orlo::host
