// SPDX-License-Identifier: MIT
#pragma once

#define XXH_STATIC_LINKING_ONLY  // the state is a member
#include <xxhash.h>
// Uses the widest registers of the processor; the values are the same.
#if defined(__x86_64__) && __has_include(<xxh_x86dispatch.h>)
#include <xxh_x86dispatch.h>
#endif
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "sonrel/files/RegularFile.h"

namespace orlo::files {

/// A running checksum: XXH3 with 64 bits.
///
/// The checksum of a cache file covers its samples or blocks up to the end of the file and then the
/// header before them. A writer completes the header last and need not read the samples again.
class Checksum {
public:
    Checksum() { XXH3_64bits_reset(&state_); }

    void Add(const void* bytes, std::size_t size) { XXH3_64bits_update(&state_, bytes, size); }
    std::uint64_t Value() const { return XXH3_64bits_digest(&state_); }

private:
    XXH3_state_t state_;
};

/// Adds the bytes of a file from @p first up to @p end.
/// @param proceed  called before each piece of 1 MiB; false stops the reading; may be empty
/// @return false when a byte cannot be read or @p proceed returned false
inline bool AddBytesOf(int descriptor, long long first, long long end,
                       const std::function<bool()>& proceed, Checksum* checksum) {
    std::vector<char> piece(static_cast<std::size_t>(std::clamp(end - first, 0LL, 1LL << 20)));
    while (first < end) {
        if (proceed && !proceed()) return false;
        const auto wanted =
            static_cast<std::size_t>(std::min<long long>(end - first, std::ssize(piece)));
        const ssize_t got =
            Uninterrupted([&] { return ::pread(descriptor, piece.data(), wanted, first); });
        if (got <= 0) return false;
        checksum->Add(piece.data(), static_cast<std::size_t>(got));
        first += got;
    }
    return true;
}

/// The checksum of an open cache file.
/// @param headerBytes  bytes before the samples or blocks
/// @param size         bytes of the file
/// @return empty when the file is shorter than its header, a byte cannot be read or @p proceed
///         returned false
inline std::optional<std::uint64_t> ChecksumOf(int descriptor, long long headerBytes,
                                               long long size,
                                               const std::function<bool()>& proceed) {
    Checksum checksum;
    if (size < headerBytes || !AddBytesOf(descriptor, headerBytes, size, proceed, &checksum) ||
        !AddBytesOf(descriptor, 0, headerBytes, proceed, &checksum)) {
        return {};
    }
    return checksum.Value();
}

}  // namespace orlo::files
