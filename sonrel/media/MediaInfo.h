// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRMediaTypes.h"

namespace zrh::media {

enum class MediaStreamKind : int {
    Audio = 0,
    Video = 1,
    Cover = 2,  ///< a still picture that goes with the sound
    Subtitle = 3,
    Other = 4
};

/// One stream of a media file. What does not belong to its kind is 0 or empty.
struct MediaStreamInfo {
    MediaStreamKind kind = MediaStreamKind::Other;
    std::string codec;  ///< short name, as "flac" or "h264"

    ZRAudioCodec audioCodec = ZRAudioCodec::Unknown;
    int sampleRate = 0;  ///< hertz
    int channels = 0;
    int bitsPerSample = 0;
    ZRSampleDataType dataType = ZRSampleDataType::Integer;
    long long sampleCount = 0;  ///< sample frames, exact
    int error = 0;              ///< why the sound cannot be read, a MediaError; 0 when it can
    std::string reason;         ///< the same as a clause, with its numbers

    double frameRate = 0.0;    ///< pictures a second
    long long frameCount = 0;  ///< pictures
    int width = 0;             ///< pixels
    int height = 0;            ///< pixels
};

struct MediaInfo {
    std::string format;  ///< short name of the container, as "wav" or "matroska,webm"
    std::vector<MediaStreamInfo> streams;  ///< in file order
};

/// Opens a media file, finds its exact lengths and closes it again.
/// @param info    receives what was found; untouched when the file cannot be opened
/// @param reason  receives why the result is not 0, as a clause with its numbers; may be null
/// @return 0; or a MediaError when the file cannot be opened, or no sound in it can be read
SONREL_EXPORT int DescribeMedia(const std::wstring& path, MediaInfo* info,
                                std::string* reason = nullptr);

}  // namespace zrh::media
