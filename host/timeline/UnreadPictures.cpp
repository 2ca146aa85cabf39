// SPDX-License-Identifier: MIT
#include "host/timeline/UnreadPictures.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>

#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/MediaErrors.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;
using zrh::media::MediaError;

/// Whether a file is named like sound or video. Its sound is lost when it cannot be read.
bool HasNameOfSound(const std::string& path) {
    constexpr std::string_view NAMES[] = {
        ".3gp", ".aac",  ".ac3",  ".aif",  ".aifc", ".aiff", ".amr",  ".asf",  ".au",  ".avi",
        ".bwf", ".caf",  ".dv",   ".eac3", ".flac", ".flv",  ".gxf",  ".m2ts", ".m4a", ".m4v",
        ".mka", ".mkv",  ".mov",  ".mp2",  ".mp3",  ".mp4",  ".mpeg", ".mpg",  ".mts", ".mxf",
        ".oga", ".ogg",  ".ogv",  ".opus", ".qt",   ".rf64", ".snd",  ".ts",   ".vob", ".w64",
        ".wav", ".wave", ".webm", ".wma",  ".wmv",  ".wv"};
    const std::string extension = LowerCase(fs::path(path).extension().string());
    return std::find(std::begin(NAMES), std::end(NAMES), extension) != std::end(NAMES);
}

/// Whether a file is not media, or a folder.
bool IsUnknown(const std::string& path) {
    std::error_code error;
    if (fs::is_directory(path, error)) return true;
    zrh::media::MediaInfo info;
    const auto code = static_cast<MediaError>(zrh::media::DescribeMedia(WidePath(path), &info));
    return code == MediaError::NotMedia || code == MediaError::RefusedFormat;
}

}  // namespace

SoundFit FitOfUnreadPicture(const MediaUse& use, const std::string& problem) {
    const std::string& path = use.location.path;
    if (!use.isPicture || HasNameOfSound(path) || !IsUnknown(path)) return {};
    return {problem + "; it is silent", {}, true};
}

}  // namespace orlo::host
