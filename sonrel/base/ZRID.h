// SPDX-License-Identifier: MIT
#pragma once

#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include "sonrel/base/Export.h"

namespace zrtl {

/// A 128-bit identity in the layout of a UUID, copied as plain data. All zero means none.
struct SONREL_EXPORT ZRID {
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::uint8_t data4[8] = {};

    /// A new random identity (UUID version 4) from the system's random source.
    /// @throws std::runtime_error "Cannot create UUID" when the system gives no random bytes
    static ZRID Create();

    /// The usual text form: 36 lower-case hexadecimal digits and dashes.
    /// @throws std::runtime_error "Cannot create UUID" when the text cannot be formed
    std::wstring ToString() const;

    /// True for the identity that stands for none.
    bool IsNull() const { return *this == ZRID(); }

    /// Field by field: the 32-bit word, the two 16-bit words, then the eight bytes.
    friend auto operator<=>(const ZRID&, const ZRID&) = default;
};

static_assert(sizeof(ZRID) == 16);

}  // namespace zrtl

template <>
struct std::hash<zrtl::ZRID> {
    std::size_t operator()(const zrtl::ZRID& id) const noexcept {
        std::uint64_t halves[2];
        std::memcpy(halves, &id, sizeof(halves));
        return std::hash<std::uint64_t>()(halves[0] * 0x9E3779B97F4A7C15u ^ halves[1]);
    }
};
