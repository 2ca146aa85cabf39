// SPDX-License-Identifier: MIT
#include "sonrel/media/ImportMediaAsset.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/ZRMediaException.h"
#include "sonrel/media/input/MediaErrors.h"

namespace orlo::project {
namespace {

using zrh::media::MediaError;
using zrh::media::MediaInfo;
using zrh::media::MediaStreamInfo;
using zrh::media::MediaStreamKind;
using zrh::media::ZRMediaException;

std::unique_ptr<MediaAudioStream> AudioStreamOf(const MediaInfo& info, int index) {
    const MediaStreamInfo* audio =
        FindStream(info, MediaStreamKind::Audio, static_cast<unsigned long long>(index));
    if (audio == nullptr) {
        // A file without sound is an asset without sound. Another index is an error.
        if (index == 0) return nullptr;
        throw ZRMediaException(static_cast<int>(MediaError::NotAudio));
    }
    if (audio->error != 0) throw ZRMediaException(audio->error);
    return std::make_unique<MediaAudioStream>(audio->sampleRate, audio->sampleCount,
                                              audio->audioCodec);
}

std::unique_ptr<MediaVideoStream> VideoStreamOf(const MediaInfo& info) {
    const MediaStreamInfo* video = FindStream(info, MediaStreamKind::Video, 0);
    if (video == nullptr || video->frameRate <= 0.0) return nullptr;
    const long long frames =
        std::clamp<long long>(video->frameCount, 0, std::numeric_limits<int>::max());
    return std::make_unique<MediaVideoStream>(video->frameRate, static_cast<int>(frames));
}

}  // namespace

std::shared_ptr<MediaAsset> ImportMediaAsset(const std::shared_ptr<MediaManager>& manager,
                                             const std::wstring& path, int audioStreamIndex) {
    if (audioStreamIndex < 0) {
        throw std::invalid_argument("the index of an audio stream cannot be negative");
    }
    MediaInfo info;
    const int error = zrh::media::DescribeMedia(path, &info);
    if (error != 0) throw ZRMediaException(error);

    auto asset = std::make_shared<MediaAsset>(manager, path);
    asset->SetAudioStream(AudioStreamOf(info, audioStreamIndex));
    asset->SetAudioStreamIndex(static_cast<unsigned long long>(audioStreamIndex));
    asset->SetVideoStream(VideoStreamOf(info));
    if (asset->HasAudio() && asset->HasVideo()) {
        asset->AudioStream()->SetFrameRate(asset->VideoStream()->FrameRate());
    }
    return asset;
}

}  // namespace orlo::project
