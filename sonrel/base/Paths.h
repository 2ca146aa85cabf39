// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

/// Paths are wide strings at every interface, with one Unicode code point in each character. The
/// file system uses UTF-8. These two functions are the only conversion between the two forms. They
/// depend on no locale and need no application object.
namespace zrtl {

/// Converts a wide path to the UTF-8 bytes of the file name.
///
/// A lone surrogate or a value above U+10FFFF becomes U+FFFD: no result of FromUtf8 contains such a
/// value.
inline std::string ToUtf8(std::wstring_view path) {
    std::string bytes;
    bytes.reserve(path.size());
    for (const wchar_t character : path) {
        auto code = static_cast<char32_t>(character);
        if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) code = 0xFFFD;
        if (code < 0x80) {
            bytes += static_cast<char>(code);
        } else if (code < 0x800) {
            bytes += static_cast<char>(0xC0 | (code >> 6));
            bytes += static_cast<char>(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            bytes += static_cast<char>(0xE0 | (code >> 12));
            bytes += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            bytes += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            bytes += static_cast<char>(0xF0 | (code >> 18));
            bytes += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
            bytes += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            bytes += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return bytes;
}

/// Converts the bytes of a path to a wide path.
/// @throws std::invalid_argument when the bytes are not valid UTF-8 (overlong forms, surrogates and
///         values above U+10FFFF included)
inline std::wstring FromUtf8(std::string_view bytes) {
    std::wstring path;
    path.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        const auto lead = static_cast<unsigned char>(bytes[at]);
        const int length = lead < 0x80   ? 1
                           : lead < 0xC2 ? 0
                           : lead < 0xE0 ? 2
                           : lead < 0xF0 ? 3
                           : lead < 0xF5 ? 4
                                         : 0;
        bool valid = length != 0 && at + length <= bytes.size();
        char32_t code = length <= 1 ? lead : lead & (0xFF >> (length + 1));
        for (int i = 1; valid && i < length; ++i) {
            const auto next = static_cast<unsigned char>(bytes[at + i]);
            valid = (next & 0xC0) == 0x80;
            code = (code << 6) | (next & 0x3F);
        }
        if (length == 3 && code < 0x800) valid = false;
        if (length == 4 && (code < 0x10000 || code > 0x10FFFF)) valid = false;
        if (code >= 0xD800 && code <= 0xDFFF) valid = false;
        if (!valid) throw std::invalid_argument("the path is not valid UTF-8");
        path += static_cast<wchar_t>(code);
        at += static_cast<std::size_t>(length);
    }
    return path;
}

}  // namespace zrtl
