// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/base/Export.h"

namespace zrh::media {

/// The results of ZRMediaFileCreate, Prepare, GetSamples and Convert. 0 is success; the numbers do
/// not change between versions.
enum class MediaError : int {
    None = 0,
    NotFound = 1,          ///< no file at the path
    NoPermission = 2,      ///< the file may not be read
    NotRegularFile = 3,    ///< a folder, a device, a pipe or a socket
    BadName = 4,           ///< the path cannot be written in UTF-8
    OpenFailed = 5,        ///< the file cannot be opened for another reason
    NotMedia = 6,          ///< the file has neither sound nor pictures
    RefusedFormat = 7,     ///< a playlist, a script or a still image
    ReadFailed = 8,        ///< the disk failed, or the file was changed or cut while it was read
    RateOutOfRange = 9,    ///< a sample rate outside 64 to 768000 Hz
    Undecodable = 10,      ///< the sound has no decoder, or none of it can be decoded
    TooManyChannels = 11,  ///< more channels than this operation handles
    NotPrepared = 12,      ///< samples were requested before Prepare or after the release
    InvalidArgument = 13,  ///< a null pointer, a negative position or a buffer that is too small
    EndOfStream = 14,      ///< the position is at or after the end of the stream
    NotAudio = 15,         ///< the stream is not an audio stream
    Cancelled = 16,        ///< the host requested to stop
    OutputExists = 17,     ///< the output file exists already, or its name is a link
    OutputFailed = 18,     ///< the output file could not be written or synced
    OutputRate = 19,       ///< the output rate is outside 64 to 768000 Hz
    OutOfMemory = 20,
    TooManyPackets = 21,   ///< more packets than the file has bytes
    ProbeLimit = 22,       ///< too many bytes in a row without sound or pictures
    TooMuchSilence = 23,   ///< more silence to insert than 8 times the file's size and 1 MiB
    TooManyFiles = 24,     ///< the process or the system has no free file descriptor
    IndexTooLarge = 25,    ///< the index of the container is compressed or too large
    NoSuchChannel = 26,    ///< a chosen channel is not in the stream
    StreamsDiffer = 27,    ///< the two streams of a choice have different rates or sample formats
    LibraryNotLoaded = 28  ///< FFmpeg is missing or does not load
};

/// Describes a code in a clause without a full stop: "there is no such file".
/// @param code  a MediaError as an integer; other numbers return a general clause
SONREL_EXPORT std::string MediaErrorText(int code);

}  // namespace zrh::media
