// SPDX-License-Identifier: MIT
#include "host/shell/TextColumns.h"

#include <wchar.h>

#include <algorithm>
#include <clocale>

#include "sonrel/base/Paths.h"

namespace orlo::host {

namespace {

/// Sets a UTF-8 locale for the thread, since the width of characters depends on the locale.
class Utf8Locale {
public:
    Utf8Locale() {
        static const locale_t UTF8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        if (UTF8 != nullptr) former_ = uselocale(UTF8);
    }
    ~Utf8Locale() {
        if (former_ != nullptr) uselocale(former_);
    }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    locale_t former_ = nullptr;
};

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

std::size_t FirstCharacterLength(std::string_view text) {
    const auto next = std::find_if_not(text.begin() + 1, text.end(), IsContinuation);
    return static_cast<std::size_t>(next - text.begin());
}

/// The columns of a character; 1 when the locale does not know it.
int CharacterColumns(std::string_view character) {
    const int width = wcwidth(zrtl::FromUtf8(character).front());
    return width < 0 ? 1 : width;
}

struct Cut {
    std::size_t bytes = 0;
    int columns = 0;
};

Cut CutWithin(std::string_view text, int columns) {
    const Utf8Locale locale;
    Cut cut;
    while (cut.bytes < text.size()) {
        const std::string_view rest = text.substr(cut.bytes);
        const std::size_t length = FirstCharacterLength(rest);
        const int width = CharacterColumns(rest.substr(0, length));
        if (width > columns - cut.columns) break;
        cut.bytes += length;
        cut.columns += width;
    }
    return cut;
}

}  // namespace

int ColumnsOf(std::string_view text) {
    return CutWithin(text, 2 * static_cast<int>(text.size())).columns;
}

std::string CutToColumns(std::string_view text, int columns) {
    return std::string(text.substr(0, CutWithin(text, columns).bytes));
}

std::string FitToColumns(std::string_view text, int columns) {
    const Cut cut = CutWithin(text, columns);
    return std::string(text.substr(0, cut.bytes)) +
           std::string(static_cast<std::size_t>(std::max(columns - cut.columns, 0)), ' ');
}

std::vector<std::string> WrapToColumns(std::string_view text, int columns) {
    std::vector<std::string> lines;
    do {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        std::size_t end = CutWithin(text, columns).bytes;
        if (end < text.size()) {
            const std::size_t blank = text.rfind(' ', end);
            if (blank != std::string_view::npos) end = blank;
        }
        const std::size_t last = text.substr(0, end).find_last_not_of(' ');
        lines.emplace_back(text.substr(0, last + 1));
        text.remove_prefix(end);
    } while (text.find_first_not_of(' ') != std::string_view::npos);
    return lines;
}

std::string IndentedLines(std::string_view text, int first, int next, int columns) {
    std::string lines;
    int indent = first;
    for (const std::string& line : WrapToColumns(text, columns - next)) {
        lines.append(static_cast<std::size_t>(indent), ' ');
        lines += line + "\n";
        indent = next;
    }
    return lines;
}

}  // namespace orlo::host
