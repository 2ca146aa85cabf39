// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sonrel/base/Export.h"
#include "sonrel/media/ZRAbstractAudioStream.h"

namespace zrh::media {

/// Makes conformed files.
class SONREL_EXPORT ZRAudioConverter {
public:
    /// Decodes a whole stream into a conformed file: stereo, signed 16 bits, at @p sampleRate.
    ///
    /// When it returns 0, the file and the folder's entry for it have reached the disk. When it
    /// fails, a part of the file may remain for the caller to delete.
    /// @param stream      an audio stream of a prepared file
    /// @param outputPath  the file to make, under its final name; must not exist
    /// @param sampleRate  hertz
    /// @return 0 on success
    static int Convert(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                       const std::wstring& outputPath, unsigned int sampleRate);

    /// As Convert above, with the checksum of the file, which is computed while it is written.
    /// @param checksum  receives the value on success, for MediaDB::AddConformedFile
    static int Convert(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                       const std::wstring& outputPath, unsigned int sampleRate,
                       std::uint64_t* checksum);
};

}  // namespace zrh::media
