// SPDX-License-Identifier: MIT
#include "host/waveform/ChannelNames.h"

#include <sstream>

namespace orlo::host {

namespace {

/// A layout, and the names of its channels with blanks between them.
struct NamedLayout {
    const char* layout;
    const char* names;
};

/// The order of the channels is that of the streams of media files.
constexpr NamedLayout LAYOUTS[] = {
    {"mono", "M"},
    {"stereo", "L R"},
    {"downmix", "Lt Rt"},
    {"2.1", "L R LFE"},
    {"3.0", "L R C"},
    {"3.0(back)", "L R Cs"},
    {"3.1", "L R C LFE"},
    {"4.0", "L R C Cs"},
    {"4.1", "L R C LFE Cs"},
    {"quad", "L R Ls Rs"},
    {"quad(side)", "L R Ls Rs"},
    {"5.0", "L R C Ls Rs"},
    {"5.0(side)", "L R C Ls Rs"},
    {"5.1", "L R C LFE Ls Rs"},
    {"5.1(side)", "L R C LFE Ls Rs"},
    {"6.1", "L R C LFE Cs Ls Rs"},
    {"7.0", "L R C Lb Rb Ls Rs"},
    {"7.1", "L R C LFE Lb Rb Ls Rs"},
};

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, separator);) words.push_back(word);
    return words;
}

/// The names in a layout that lists them: "2 channels (FL+LFE)".
std::vector<std::string> ListedNames(const std::string& layout) {
    const std::size_t open = layout.find('(');
    const std::size_t close = layout.rfind(')');
    if (layout.find(" channels (") == std::string::npos || close == std::string::npos) return {};
    return Split(layout.substr(open + 1, close - open - 1), '+');
}

std::vector<std::string> NamesOf(std::string layout, int channels) {
    if (layout.empty() && channels <= 2) layout = channels == 1 ? "mono" : "stereo";
    for (const NamedLayout& known : LAYOUTS) {
        if (layout == known.layout) return Split(known.names, ' ');
    }
    return ListedNames(layout);
}

}  // namespace

std::vector<std::string> ChannelNames(const std::string& layout, int channels) {
    const auto count = static_cast<std::size_t>(channels);
    std::vector<std::string> names = NamesOf(layout, channels);
    if (names.size() == count) return names;
    names.clear();
    for (int channel = 1; channel <= channels; ++channel) {
        names.push_back(std::to_string(channel));
    }
    return names;
}

}  // namespace orlo::host
