// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/media/ZRAbstractMediaFile.h"
#include "sonrel/media/ZRMediaException.h"

namespace zrh::media {

struct MediaFileReleaser {
    void operator()(ZRAbstractMediaFile* file) const { ZRMediaFileRelease(file); }  ///< releases
};  ///< releases a media file

/// An opened media file, released with the pointer. Release its streams before it.
using MediaFilePtr = std::unique_ptr<ZRAbstractMediaFile, MediaFileReleaser>;

/// Opens a media file.
/// @param file  receives the opened file; untouched on failure
/// @return the result of ZRMediaFileCreate
inline int OpenMediaFile(const std::wstring& path, MediaFilePtr* file) {
    ZRAbstractMediaFile* opened = nullptr;
    const int code = ZRMediaFileCreate(path.c_str(), &opened, ZRMediaReaderType::Default);
    if (code == 0) file->reset(opened);
    return code;
}

/// As above.
/// @throws ZRMediaException when the file cannot be opened
inline MediaFilePtr OpenMediaFile(const std::wstring& path) {
    MediaFilePtr file;
    const int code = OpenMediaFile(path, &file);
    if (code != 0) throw ZRMediaException(code);
    return file;
}

/// Finds an audio stream. Only audio streams count: with a video stream first, index 1 is the
/// second audio stream.
/// @param index  of the stream, or the number of a SoundChoice
/// @return null when the file has no such stream
inline std::shared_ptr<ZRAbstractAudioStream> FindAudioStream(ZRAbstractMediaFile& file,
                                                              unsigned long long index) {
    if (SoundChoice::IsNumber(index)) return file.ChosenSound(SoundChoice::FromNumber(index));
    for (const auto& stream : file.Streams()) {
        if (stream->StreamType() == 0 && index-- == 0) return stream;
    }
    return nullptr;
}

}  // namespace zrh::media
