// SPDX-License-Identifier: MIT
#include "sonrel/media/MediaInfo.h"

#include "sonrel/media/OpenMediaFile.h"
#include "sonrel/media/detail/AudioStream.h"
#include "sonrel/media/detail/MediaFile.h"
#include "sonrel/media/input/MediaErrors.h"

namespace zrh::media {
namespace {

std::string Clause(int code, const std::string& reason) {
    return reason.empty() ? MediaErrorText(code) : reason;
}

MediaStreamInfo Describe(ZRAbstractAudioStream& stream) {
    MediaStreamInfo info;
    const auto* own = dynamic_cast<const detail::AudioStream*>(&stream);
    if (own != nullptr) {
        info = own->Info();
    } else if (stream.StreamType() == 0) {
        info.kind = MediaStreamKind::Audio;
    }
    if (info.kind != MediaStreamKind::Audio) return info;
    info.sampleRate = stream.SampleRate();
    info.channels = stream.ChannelCount();
    info.bitsPerSample = stream.BitsPerSample();
    info.dataType = stream.SampleDataType();
    info.sampleCount = stream.SampleCount();
    if (own != nullptr && own->Error() != MediaError::None) {
        info.error = static_cast<int>(own->Error());
        info.reason = Clause(info.error, own->Reason());
    }
    return info;
}

/// @param reason  unchanged where the result is sufficient
int Describe(const std::wstring& path, MediaInfo* info, std::string* reason) {
    MediaFilePtr file;
    const int opened = OpenMediaFile(path, &file);
    if (opened != 0) return opened;
    file->SetReadOption(1);
    const auto* own = dynamic_cast<const detail::MediaFile*>(file.get());
    const int prepared = file->Prepare();
    if (prepared != 0) {
        if (own != nullptr) *reason = own->Reason();
        return prepared;
    }

    MediaInfo found;
    if (own != nullptr) {
        found.format = own->Description().format;
        found.timecode = own->Description().timecode;
        found.timeReference = own->Description().timeReference;
    }
    for (const auto& stream : file->Streams()) found.streams.push_back(Describe(*stream));
    *info = std::move(found);
    return 0;
}

}  // namespace

int DescribeMedia(const std::wstring& path, MediaInfo* info, std::string* reason) {
    std::string numbers;
    const int code = Describe(path, info, &numbers);
    if (code != 0 && reason != nullptr) *reason = Clause(code, numbers);
    return code;
}

}  // namespace zrh::media
