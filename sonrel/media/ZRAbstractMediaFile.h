// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRMediaTypes.h"
#include "sonrel/media/SoundChoice.h"
#include "sonrel/media/ZRAbstractAudioStream.h"

namespace zrh::media {

/// An opened media file with its streams, made and released by the two functions below only.
///
/// Threads: one thread at a time. Two files on one path are independent.
class SONREL_EXPORT ZRAbstractMediaFile {
public:
    /// All streams of the file of any kind, in file order. Available before Prepare.
    virtual const std::vector<std::shared_ptr<ZRAbstractAudioStream>>& Streams() = 0;
    /// 1 requests the audio only.
    virtual void SetReadOption(int option) = 0;
    /// Makes the file ready for reading and its sample counts exact.
    /// @return 0, or a code when the file cannot be read
    virtual int Prepare() = 0;
    /// A choice of channels as a stream with one channel, or with left and right. Available before
    /// Prepare.
    /// @param choice  not a whole stream; its streams are audio streams
    /// @return null when the file has no such stream, or the library offers no choice of channels
    virtual std::shared_ptr<ZRAbstractAudioStream> ChosenSound(const SoundChoice& choice) {
        static_cast<void>(choice);
        return nullptr;
    }

protected:
    virtual ~ZRAbstractMediaFile() = default;
    friend SONREL_EXPORT int ZRMediaFileRelease(ZRAbstractMediaFile* file);
};

/// Opens a media file without decoding anything.
/// @param path  the file
/// @param file  receives the opened file; unchanged on failure
/// @return 0, or a code
SONREL_EXPORT int ZRMediaFileCreate(const wchar_t* path, ZRAbstractMediaFile** file,
                                    ZRMediaReaderType type);

/// Releases a file. Streams that are still held can be released and deliver no more samples.
SONREL_EXPORT int ZRMediaFileRelease(ZRAbstractMediaFile* file);

}  // namespace zrh::media
