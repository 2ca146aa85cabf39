// SPDX-License-Identifier: MIT
#pragma once

#include "tests/media/MediaSupport.h"

namespace sonrel_tests {

/// A conversion of the first audio stream of a media file, and the written bytes.
class Conversion {
public:
    Conversion(const std::filesystem::path& media, unsigned int rate) {
        const OpenedMedia opened(media);
        const auto stream = opened.Audio();
        if (stream == nullptr) return;
        code_ = zrh::media::ZRAudioConverter::Convert(stream, folder_.Wide("out.xwmc"), rate);
        if (code_ == 0) bytes_ = ReadFile(folder_ / "out.xwmc");
    }

    int Code() const { return code_; }
    const std::string& Bytes() const { return bytes_; }
    std::string Header() const { return bytes_.substr(0, 44); }
    std::string Samples() const { return bytes_.size() < 44 ? "" : bytes_.substr(44); }
    std::vector<int> Values() const { return Values16(Samples()); }
    int Rate() const {
        const auto at = [this](int i) { return static_cast<unsigned char>(bytes_.at(24 + i)); };
        return at(0) | at(1) << 8 | at(2) << 16 | at(3) << 24;
    }

private:
    TemporaryFolder folder_;
    int code_ = -1;
    std::string bytes_;
};

}  // namespace sonrel_tests
