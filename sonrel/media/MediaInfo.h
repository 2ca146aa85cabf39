// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRMediaTypes.h"
#include "sonrel/media/SoundChoice.h"

namespace zrh::media {

enum class MediaStreamKind : int {
    Audio = 0,
    Video = 1,
    Cover = 2,  ///< a still picture that belongs to the sound
    Subtitle = 3,
    Other = 4
};

/// One stream of a media file. Fields that do not apply to its kind are 0 or empty.
struct MediaStreamInfo {
    MediaStreamKind kind = MediaStreamKind::Other;  ///< sound, picture or another kind
    std::string codec;                              ///< short name, like "flac" or "h264"
    std::string language;  ///< as in the file, like "eng"; empty when it is not declared
    std::string title;     ///< empty when it is not declared

    ZRAudioCodec audioCodec = ZRAudioCodec::Unknown;  ///< of an audio stream
    int sampleRate = 0;                               ///< hertz
    int channels = 0;                                 ///< of an audio stream
    std::string layout;     ///< of the channels, like "5.1"; empty when it is not declared
    int bitsPerSample = 0;  ///< of an audio stream
    ZRSampleDataType dataType = ZRSampleDataType::Integer;  ///< of an audio stream
    long long sampleCount = 0;                              ///< sample frames, exact
    int error = 0;       ///< a MediaError if the sound cannot be read; otherwise 0
    std::string reason;  ///< the reason of the error as a clause, with its numbers

    double frameRate = 0.0;             ///< frames per second
    long long frameCount = 0;           ///< video frames
    bool hasVariableFrameRate = false;  ///< the frame rate above is an average
    int width = 0;                      ///< pixels
    int height = 0;                     ///< pixels

    std::string timecode;       ///< of the first frame, as the file has it, like "01:00:00:00"
    double timecodeRate = 0.0;  ///< frames per second that a timecode track counts
};

struct MediaInfo {
    std::string format;    ///< short name of the container, like "wav" or "matroska,webm"
    std::string timecode;  ///< of the first frame, as the container has it; empty without one
    /// Number of samples from midnight to the first sample, as a Broadcast Wave file has it; empty
    /// without one.
    std::string timeReference;
    std::vector<MediaStreamInfo> streams;  ///< in file order
};                                         ///< a media file and its streams

/// Finds a stream. Only streams of the kind count: for Audio, index 1 is the second audio stream.
/// @return null when the file has no such stream
inline const MediaStreamInfo* FindStream(const MediaInfo& info, MediaStreamKind kind,
                                         unsigned long long index) {
    for (const MediaStreamInfo& stream : info.streams) {
        if (stream.kind == kind && index-- == 0) return &stream;
    }
    return nullptr;
}

/// Opens a media file, finds its exact lengths and closes it.
/// @param info    receives the streams; unchanged when the file cannot be opened
/// @param reason  receives the reason of an error as a clause with its numbers; may be null
/// @return 0, or a MediaError when the file cannot be opened or none of its sound can be read
SONREL_EXPORT int DescribeMedia(const std::wstring& path, MediaInfo* info,
                                std::string* reason = nullptr);

/// Finds the streams and channels of a choice in a media file.
/// @param choice    may contain ANY_STREAM and OfFile
/// @param resolved  receives the same sound with each channel's own stream. A choice of all
///                  channels of a stream in their order, and a downmix of one or two channels, are
///                  a whole stream. Unchanged on failure
/// @return 0; the error of a stream; NotAudio, NoSuchChannel or StreamsDiffer
SONREL_EXPORT int ResolveSound(const MediaInfo& info, const SoundChoice& choice,
                               SoundChoice* resolved);

}  // namespace zrh::media
