// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct zip;
struct zip_error;

namespace orlo::host {

/// The file of a ZIP archive, read with FileReader instead of the C library, which does not repeat
/// interrupted calls.
class ZipSource {
public:
    /// @throws JobError when the file cannot be read
    explicit ZipSource(const std::string& path);
    ~ZipSource();
    ZipSource(const ZipSource&) = delete;
    ZipSource& operator=(const ZipSource&) = delete;

    /// Opens the archive. This object outlives it.
    /// @return null after an error
    zip* Open(zip_error& error);

    /// Number of bytes.
    std::uint64_t Size() const;
    /// The message of a read error; empty when there was none.
    const std::string& Failure() const;

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace orlo::host
