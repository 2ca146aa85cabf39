// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace sonrel_tests {

/// A file from make_media.sh.
inline std::filesystem::path CodecMedia(const std::string& name) {
    return std::filesystem::path(SONREL_CODEC_MEDIA) / name;
}

/// The name of a test with a file as its parameter.
inline std::string NameOfFile(const testing::TestParamInfo<const char*>& parameter) {
    std::string name = parameter.param;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

}  // namespace sonrel_tests
