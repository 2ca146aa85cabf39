// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/base/Export.h"

namespace zrh::media {

/// Why an operation of the media library failed: what ZRMediaFileCreate, Prepare, GetSamples and
/// Convert return. 0 is success; the numbers do not change between versions.
enum class MediaError : int {
    None = 0,
    NotFound = 1,          ///< there is no file at the path
    NoPermission = 2,      ///< the file may not be read
    NotRegularFile = 3,    ///< a folder, a device, a pipe or a socket
    BadName = 4,           ///< the path cannot be written in UTF-8
    OpenFailed = 5,        ///< the file cannot be opened for another reason
    NotMedia = 6,          ///< nothing in the file is sound or picture
    RefusedFormat = 7,     ///< a playlist, a script or a still image
    ReadFailed = 8,        ///< the disk failed, or the file was changed or cut while it was read
    RateOutOfRange = 9,    ///< a sample rate outside 64 to 768000 Hz
    Undecodable = 10,      ///< no decoder for the sound, or nothing of it decodes
    TooManyChannels = 11,  ///< more channels than this operation handles
    NotPrepared = 12,      ///< samples were asked for before Prepare, or after the release
    InvalidArgument = 13,  ///< a null pointer, a negative position or a buffer that is too small
    EndOfStream = 14,      ///< the position lies at the stream's end or behind it
    NotAudio = 15,         ///< the stream is no audio stream
    Cancelled = 16,        ///< the host asked to stop
    OutputExists = 17,     ///< the file to make exists already, or its name is a link
    OutputFailed = 18,     ///< the file to make could not be written, or not be synced
    OutputRate = 19,       ///< the wanted rate lies outside 64 to 768000 Hz
    OutOfMemory = 20,
    TooManyPackets = 21,  ///< more packets than the file has bytes
    ProbeLimit = 22,      ///< too many bytes in a row hold neither sound nor picture
    TooMuchSilence = 23,  ///< more silence to put in than 8 times the file's size and 1 MiB
    TooManyFiles = 24,    ///< the process or the system has no free file descriptor
    IndexTooLarge = 25    ///< the index of the container is compressed or too large
};

/// A clause in plain English for a code, without a full stop: "there is no such file".
/// @param code  a MediaError as an integer; other numbers give a general clause
SONREL_EXPORT std::string MediaErrorText(int code);

}  // namespace zrh::media
