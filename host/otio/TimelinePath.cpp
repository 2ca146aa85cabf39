// SPDX-License-Identifier: MIT
#include "host/otio/TimelinePath.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <utility>

namespace orlo::host::otio {

namespace {

namespace fs = std::filesystem;

bool EndsWith(std::string_view path, std::string_view lowerCaseEnding) {
    if (path.size() < lowerCaseEnding.size()) return false;
    path.remove_prefix(path.size() - lowerCaseEnding.size());
    return std::equal(path.begin(), path.end(), lowerCaseEnding.begin(),
                      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a | 0x20 : a) == b; });
}

std::string WithoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

}  // namespace

TimelineFormat FormatOf(const std::string& path) {
    constexpr std::array<std::pair<const char*, TimelineFormat>, 7> EXTENSIONS = {
        {{".otio", TimelineFormat::Otio},
         {".otiod", TimelineFormat::Otiod},
         {".otioz", TimelineFormat::Otioz},
         {".edl", TimelineFormat::Edl},
         {".xml", TimelineFormat::FinalCut7},
         {".fcpxml", TimelineFormat::FinalCutX},
         {".fcpxmld", TimelineFormat::FinalCutXFolder}}};
    const std::string name = WithoutTrailingSlashes(path);
    for (const auto& [extension, format] : EXTENSIONS) {
        if (EndsWith(name, extension)) return format;
    }
    return TimelineFormat::None;
}

bool IsTimelinePath(const std::string& path) {
    return FormatOf(path) != TimelineFormat::None;
}

std::string TimelineFile(const std::string& path) {
    const fs::path file = fs::absolute(WithoutTrailingSlashes(path)).lexically_normal();
    switch (FormatOf(path)) {
        case TimelineFormat::Otiod:
            return (file / "content.otio").string();
        case TimelineFormat::FinalCutXFolder:
            return (file / "Info.fcpxml").string();
        default:
            return file.string();
    }
}

}  // namespace orlo::host::otio
