// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/RecordStatement.h"

#include <algorithm>
#include <stdexcept>

#include "sonrel/base/Paths.h"

namespace orlo::project {

namespace {

/// Maximum length of a file name.
constexpr std::size_t MAX_NAME_BYTES = 255;

/// Decodes UTF-8 piece by piece; invalid bytes become U+FFFD.
std::wstring DecodeLeniently(std::string_view bytes) {
    std::wstring text;
    while (!bytes.empty()) {
        std::size_t length = std::min<std::size_t>(bytes.size(), 4);
        for (; length > 0; --length) {
            try {
                const std::wstring character = zrtl::FromUtf8(bytes.substr(0, length));
                text += character;
                break;
            } catch (const std::invalid_argument&) {
            }
        }
        if (length == 0) text += L'\xFFFD';
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}

}  // namespace

void StatementRun::Bind(std::wstring const& text) {
    Bind(zrtl::ToUtf8(text));
}

std::wstring StatementRun::Text(int column) const {
    return DecodeLeniently(Bytes(column));
}

std::wstring StatementRun::BareName(int column) const {
    return statement_.IsText(column) ? BareFileName(Bytes(column)) : std::wstring();
}

std::wstring BareFileName(std::string_view utf8) {
    const std::string_view separators("/\\\0", 3);
    if (utf8.size() > MAX_NAME_BYTES || utf8 == "." || utf8 == "..") return {};
    if (utf8.find_first_of(separators) != std::string_view::npos) return {};
    try {
        return zrtl::FromUtf8(utf8);
    } catch (const std::invalid_argument&) {
        return {};
    }
}

std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
}

}  // namespace orlo::project
