// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/MediaSource.h"

namespace orlo::sonrel::detail {

using zrh::media::ZRAbstractAudioStream;
using zrh::media::ZRAbstractMediaFile;

MediaFile OpenMediaFile(const std::wstring& mediaPath) {
    ZRAbstractMediaFile* file = nullptr;
    const int code = zrh::media::ZRMediaFileCreate(mediaPath.c_str(), &file,
                                                   zrh::media::ZRMediaReaderType::Default);
    if (code != 0) throw zrh::media::ZRMediaException(code);
    return MediaFile(file);
}

std::shared_ptr<ZRAbstractAudioStream> FindAudioStream(ZRAbstractMediaFile& file,
                                                       unsigned long long streamIndex) {
    unsigned long long audioStreams = 0;
    for (const auto& stream : file.Streams()) {
        if (stream->StreamType() != 0) continue;
        if (audioStreams == streamIndex) return stream;
        ++audioStreams;
    }
    return nullptr;
}

}  // namespace orlo::sonrel::detail
