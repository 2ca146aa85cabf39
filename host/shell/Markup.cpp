// SPDX-License-Identifier: MIT
#include "host/shell/Markup.h"

#include "host/shell/Text.h"

namespace orlo::host {

std::string XmlText(std::string_view text) {
    std::string escaped;
    for (const char character : OneLine(text)) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

}  // namespace orlo::host
