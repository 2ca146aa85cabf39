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
    /// When it returns 0, the file and its entry in the folder are synced. When it fails, a partial
    /// file may remain, which the caller deletes. Compressed sound of at least ten seconds is
    /// decoded on other threads, which have ended when it returns; the bytes do not depend on them.
    /// @param stream      an audio stream of a prepared file
    /// @param outputPath  the file to make; must not exist
    /// @param sampleRate  hertz
    /// @return 0 on success
    static int Convert(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                       const std::wstring& outputPath, unsigned int sampleRate);

    /// Converts as above and returns the checksum of the file, computed while it is written.
    /// @param checksum  receives the value on success, for MediaDB::AddConformedFile
    static int Convert(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                       const std::wstring& outputPath, unsigned int sampleRate,
                       std::uint64_t* checksum);
};

}  // namespace zrh::media
