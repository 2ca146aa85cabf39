// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace orlo::host {

/// A running checksum of bytes. It detects damage and mistakes, not intent.
class Digest {
public:
    Digest();
    ~Digest();
    Digest(const Digest&) = delete;
    Digest& operator=(const Digest&) = delete;

    void Add(const void* bytes, std::size_t size);
    /// Adds a text and its length, so that two lists of texts differ when one text does.
    void AddText(std::string_view text);
    /// 16 hexadecimal digits.
    std::string Value() const;

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace orlo::host
