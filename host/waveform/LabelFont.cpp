// SPDX-License-Identifier: MIT
#include "host/waveform/LabelFont.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "host/waveform/Frame.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* PREFERRED_FONTS[] = {"DejaVuSans.ttf", "LiberationSans-Regular.ttf",
                                           "NotoSans-Regular.ttf"};

std::string Variable(const char* name, const std::string& otherwise) {
    const char* value = std::getenv(name);
    return value == nullptr || *value == '\0' ? otherwise : value;
}

std::vector<fs::path> FontFolders() {
    std::vector<fs::path> folders;
    const std::string home = Variable("HOME", "");
    const std::string data =
        Variable("XDG_DATA_HOME", home.empty() ? std::string() : home + "/.local/share");
    if (!data.empty()) folders.push_back(fs::path(data) / "fonts");
    std::istringstream shared(Variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share"));
    for (std::string folder; std::getline(shared, folder, ':');) {
        if (!folder.empty()) folders.push_back(fs::path(folder) / "fonts");
    }
    return folders;
}

bool IsFontFile(const fs::directory_entry& entry) {
    const std::string extension = LowerCase(entry.path().extension().string());
    std::error_code error;
    return (extension == ".ttf" || extension == ".otf") && entry.is_regular_file(error);
}

void AddFontsOf(const fs::path& folder, std::vector<std::string>& files) {
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        if (IsFontFile(*entry)) files.push_back(entry->path().string());
    }
}

/// Place of a font in the order: that of its name in the list, else after the list.
std::ptrdiff_t RankOf(const std::string& file) {
    const std::string name = fs::path(file).filename().string();
    return std::find(std::begin(PREFERRED_FONTS), std::end(PREFERRED_FONTS), name) -
           std::begin(PREFERRED_FONTS);
}

}  // namespace

std::vector<std::string> FontFiles() {
    std::vector<std::string> files;
    for (const fs::path& folder : FontFolders()) AddFontsOf(folder, files);
    std::sort(files.begin(), files.end(), [](const std::string& one, const std::string& other) {
        return std::pair(RankOf(one), one) < std::pair(RankOf(other), other);
    });
    return files;
}

std::unique_ptr<LabelFont> FindLabelFont(const std::string& file, OpenLabelFont open) {
    if (!file.empty()) {
        std::unique_ptr<LabelFont> font = open(file, LABEL_PIXELS);
        if (font == nullptr) {
            throw JobError("cannot draw labels with " + Quoted(file) +
                           ": it is not a font with digits and letters; choose a TrueType or "
                           "OpenType file");
        }
        return font;
    }
    for (const std::string& candidate : FontFiles()) {
        std::unique_ptr<LabelFont> font = open(candidate, LABEL_PIXELS);
        if (font != nullptr) return font;
    }
    return nullptr;
}

}  // namespace orlo::host
