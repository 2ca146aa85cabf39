// SPDX-License-Identifier: MIT
#include "sonrel/base/ZRID.h"

#include <sys/random.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <stdexcept>

#include "sonrel/base/detail/IdentityFailure.h"

namespace {

using orlo::project::IdentityFailure;

std::atomic<IdentityFailure> injectedFailure = IdentityFailure::None;

[[noreturn]] void Refuse() {
    throw std::runtime_error("Cannot create UUID");
}

/// There is no second source: a clock or a counter would let two machines make the same identity,
/// and identities become file names in a folder that several programs share.
void FillWithRandomBytes(unsigned char* bytes, std::size_t size) {
    for (std::size_t filled = 0; filled < size;) {
        const ssize_t got = getrandom(bytes + filled, size - filled, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) Refuse();
        filled += static_cast<std::size_t>(got);
    }
}

void AppendHex(std::wstring* text, std::uint32_t value, int digits) {
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        *text += L"0123456789abcdef"[(value >> shift) & 0xF];
    }
}

}  // namespace

namespace orlo::project {

void SetIdentityFailure(IdentityFailure failure) {
    injectedFailure = failure;
}

}  // namespace orlo::project

namespace zrtl {

ZRID ZRID::Create() {
    if (injectedFailure == IdentityFailure::Create) Refuse();
    unsigned char bytes[sizeof(ZRID)];
    FillWithRandomBytes(bytes, sizeof(bytes));
    ZRID id;
    std::memcpy(&id, bytes, sizeof(bytes));
    id.data3 = static_cast<std::uint16_t>((id.data3 & 0x0FFF) | 0x4000);   // version 4
    id.data4[0] = static_cast<std::uint8_t>((id.data4[0] & 0x3F) | 0x80);  // RFC 4122 variant
    return id;
}

std::wstring ZRID::ToString() const {
    if (injectedFailure == IdentityFailure::Text) Refuse();
    std::wstring text;
    text.reserve(36);
    AppendHex(&text, data1, 8);
    text += L'-';
    AppendHex(&text, data2, 4);
    text += L'-';
    AppendHex(&text, data3, 4);
    for (int i = 0; i < 8; ++i) {
        if (i == 0 || i == 2) text += L'-';
        AppendHex(&text, data4[i], 2);
    }
    return text;
}

}  // namespace zrtl
