// SPDX-License-Identifier: MIT
#include "host/otio/SourceLocation.h"

#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

/// Limits of names and places in the report, which may contain millions of them.
constexpr std::size_t MAX_NAME = 60;
constexpr std::size_t MAX_PLACE = 300;

bool ContinuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::string Shortened(const std::string& name) {
    if (name.size() <= MAX_NAME) return name;
    std::size_t end = MAX_NAME;
    while (end > 0 && ContinuesCharacter(name[end])) --end;
    return name.substr(0, end) + "...";
}

}  // namespace

std::string ToText(const SourceLocation& place) {
    if (place.track.empty()) return place.item.empty() ? "the timeline" : place.item;
    return place.item.empty() ? place.track : place.track + ", " + place.item;
}

std::string Label(const char* kind, std::size_t number, const std::string& name) {
    const std::string label = kind + std::string(" ") + std::to_string(number);
    return name.empty() ? label : label + " " + Quoted(Shortened(name));
}

SourceLocation InnerLocation(const SourceLocation& nested, const std::string& label) {
    std::string text = ToText(nested) + ", " + label;
    if (text.size() > MAX_PLACE) {
        std::size_t begin = text.size() - MAX_PLACE;
        while (begin < text.size() && ContinuesCharacter(text[begin])) ++begin;
        text = "..." + text.substr(begin);
    }
    return {text, {}};
}

}  // namespace orlo::host::otio
