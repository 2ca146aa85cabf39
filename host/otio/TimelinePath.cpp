// SPDX-License-Identifier: MIT
#include "host/otio/TimelinePath.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

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

bool IsTimelinePath(const std::string& path) {
    const std::string name = WithoutTrailingSlashes(path);
    return EndsWith(name, ".otio") || EndsWith(name, ".otiod");
}

std::string TimelineFile(const std::string& path) {
    fs::path file = fs::absolute(WithoutTrailingSlashes(path)).lexically_normal();
    if (EndsWith(file.string(), ".otiod")) file /= "content.otio";
    return file.string();
}

}  // namespace orlo::host::otio
