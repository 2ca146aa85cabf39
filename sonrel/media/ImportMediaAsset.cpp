// SPDX-License-Identifier: MIT
#include "sonrel/media/ImportMediaAsset.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/ZRMediaException.h"

namespace orlo::project {
namespace {

using zrh::media::MediaInfo;
using zrh::media::MediaStreamInfo;
using zrh::media::MediaStreamKind;
using zrh::media::SoundChoice;
using zrh::media::ZRMediaException;

const MediaStreamInfo* AudioInfo(const MediaInfo& info, int index) {
    return FindStream(info, MediaStreamKind::Audio, static_cast<unsigned long long>(index));
}

/// Empty for a file without sound.
std::unique_ptr<MediaAudioStream> AudioStreamOf(const MediaInfo& info, const SoundChoice& choice) {
    const MediaStreamInfo* audio = AudioInfo(info, choice.Stream());
    if (audio == nullptr) return nullptr;
    long long samples = audio->sampleCount;
    if (choice.kind == SoundChoice::Kind::Channels && choice.right.channel > 0) {
        const MediaStreamInfo* right = AudioInfo(info, choice.right.stream);
        samples = std::max(samples, right->sampleCount);
    }
    return std::make_unique<MediaAudioStream>(audio->sampleRate, samples, audio->audioCodec);
}

/// @throws ZRMediaException when the file has sound but not the chosen sound
SoundChoice Resolved(const MediaInfo& info, const SoundChoice& choice) {
    // A file without sound is an asset without sound. Another choice is an error.
    const bool isFirst = choice == SoundChoice::OfStream(0);
    if (isFirst && AudioInfo(info, 0) == nullptr) return choice;
    SoundChoice resolved;
    const int error = zrh::media::ResolveSound(info, choice, &resolved);
    if (error != 0) throw ZRMediaException(error);
    if (resolved.kind != SoundChoice::Kind::Downmix) return resolved;
    // A conformed file of the stream is the downmix.
    return SoundChoice::OfStream(resolved.left.stream);
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
    return ImportMediaAsset(manager, path, SoundChoice::OfStream(audioStreamIndex));
}

std::shared_ptr<MediaAsset> ImportMediaAsset(const std::shared_ptr<MediaManager>& manager,
                                             const std::wstring& path,
                                             const zrh::media::SoundChoice& choice) {
    MediaInfo info;
    const int error = zrh::media::DescribeMedia(path, &info);
    if (error != 0) throw ZRMediaException(error);

    auto asset = std::make_shared<MediaAsset>(manager, path);
    const SoundChoice sound = Resolved(info, choice);
    asset->SetAudioStream(AudioStreamOf(info, sound));
    asset->SetAudioStreamIndex(sound.Number());
    asset->SetVideoStream(VideoStreamOf(info));
    if (asset->HasAudio() && asset->HasVideo()) {
        asset->AudioStream()->SetFrameRate(asset->VideoStream()->FrameRate());
    }
    return asset;
}

}  // namespace orlo::project
