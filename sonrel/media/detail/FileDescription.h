// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/Demuxer.h"
#include "sonrel/media/input/InputFile.h"
#include "sonrel/media/input/SampleFormat.h"

namespace zrh::media::detail {

/// The properties that a container declares for a stream.
struct StreamDescription {
    MediaStreamInfo info;
    int number = 0;  ///< among all streams of the file
    int type = 3;    ///< ZRAbstractAudioStream::StreamType
    int rate = 0;    ///< hertz
    int channels = 0;
    ViewFormat view;
    std::int64_t frames = 0;  ///< 0 if unknown
};

/// All that is known of a media file before it is prepared.
struct FileDescription {
    std::string format;
    std::string timecode;
    std::string timeReference;
    std::vector<StreamDescription> streams;
};

/// Describes a file, and keeps the descriptions of the last files. A file is often examined,
/// released and read soon after, and FFmpeg takes some milliseconds for each opening.
///
/// Threads: any.
/// @param demuxer      receives the opened file at its start; null when the description was kept
/// @param description  receives the description
/// @return the error of Demuxer::Open, or Cancelled after an interrupt
MediaError DescribeFile(const std::shared_ptr<const InputFile>& file,
                        std::unique_ptr<Demuxer>* demuxer,
                        std::shared_ptr<const FileDescription>* description);

}  // namespace zrh::media::detail
