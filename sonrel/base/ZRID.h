// SPDX-License-Identifier: MIT
#pragma once

#include <sys/random.h>

#include <cerrno>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <functional>
#include <stdexcept>
#include <string>

#include "sonrel/base/Export.h"

namespace zrtl {

/// A 128-bit identity in the layout of a UUID, copied as plain data. All zero means none.
///
/// The class is header-only: the engine and every project library, ours or the host's, make
/// identities with the same code.
struct SONREL_EXPORT ZRID {
    std::uint32_t data1 = 0;     ///< bytes 0 to 3
    std::uint16_t data2 = 0;     ///< bytes 4 and 5
    std::uint16_t data3 = 0;     ///< bytes 6 and 7, with the version
    std::uint8_t data4[8] = {};  ///< bytes 8 to 15, with the variant

    /// Creates a random identity (UUID version 4) from the random source of the system. Has no
    /// second source: a clock or a counter would let two machines make the same identity, and
    /// identities become file names in a folder that several programs share.
    /// @throws std::runtime_error "Cannot create UUID" when the system returns no random bytes
    static ZRID Create();

    /// The usual text form: 36 lower-case hexadecimal digits and dashes.
    /// @throws std::runtime_error "Cannot create UUID" when the text cannot be formed
    std::wstring ToString() const;

    /// True for the identity that means none.
    bool IsNull() const { return *this == ZRID(); }

    /// Field by field: the 32-bit word, the two 16-bit words, then the eight bytes.
    friend auto operator<=>(const ZRID&, const ZRID&) = default;
};

static_assert(sizeof(ZRID) == 16);

inline ZRID ZRID::Create() {
    unsigned char bytes[sizeof(ZRID)];
    for (std::size_t filled = 0; filled < sizeof(bytes);) {
        const auto got = ::getrandom(bytes + filled, sizeof(bytes) - filled, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) throw std::runtime_error("Cannot create UUID");
        filled += static_cast<std::size_t>(got);
    }
    ZRID id;
    std::memcpy(&id, bytes, sizeof(bytes));
    id.data3 = static_cast<std::uint16_t>((id.data3 & 0x0FFF) | 0x4000);   // version 4
    id.data4[0] = static_cast<std::uint8_t>((id.data4[0] & 0x3F) | 0x80);  // RFC 4122 variant
    return id;
}

inline std::wstring ZRID::ToString() const {
    constexpr int LENGTH = 36;
    wchar_t text[LENGTH + 1];
    const int length = std::swprintf(
        text, LENGTH + 1, L"%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", data1, data2, data3,
        data4[0], data4[1], data4[2], data4[3], data4[4], data4[5], data4[6], data4[7]);
    if (length != LENGTH) throw std::runtime_error("Cannot create UUID");
    return text;
}

}  // namespace zrtl

template <>
struct std::hash<zrtl::ZRID> {
    std::size_t operator()(const zrtl::ZRID& id) const noexcept {
        std::uint64_t halves[2];
        std::memcpy(halves, &id, sizeof(halves));
        return std::hash<std::uint64_t>()(halves[0] * 0x9E3779B97F4A7C15u ^ halves[1]);
    }
};
