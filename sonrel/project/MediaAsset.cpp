// SPDX-License-Identifier: MIT
#include "sonrel/project/MediaAsset.h"

#include <utility>

#include "sonrel/project/MediaManager.h"

namespace orlo::project {

namespace {

template <class T>
std::unique_ptr<T> CopyOf(const std::unique_ptr<T>& stream) {
    return stream ? std::make_unique<T>(*stream) : nullptr;
}

}  // namespace

MediaAsset::MediaAsset(std::shared_ptr<orlo::project::MediaManager> const& manager,
                       std::wstring filename)
    : id_(zrtl::ZRID::Create()), manager_(manager), filename_(std::move(filename)) {}

MediaAsset::MediaAsset(MediaAsset const& source,
                       std::weak_ptr<orlo::project::MediaManager> const& manager, int)
    : AbstractAsset(source),
      std::enable_shared_from_this<MediaAsset>(source),
      id_(source.id_),
      manager_(manager.expired() ? source.manager_ : manager),
      filename_(source.filename_),
      audio_(CopyOf(source.audio_)),
      video_(CopyOf(source.video_)),
      audioStreamIndex_(source.audioStreamIndex_),
      merged_(source.merged_),
      mergedAudioFilename_(source.mergedAudioFilename_) {}

MediaAsset::~MediaAsset() = default;

zrtl::ZRID const& MediaAsset::ID() const {
    return id_;
}
bool MediaAsset::HasAudio() const {
    return audio_ != nullptr;
}
bool MediaAsset::HasVideo() const {
    return video_ != nullptr;
}

std::unique_ptr<MediaAudioStream> const& MediaAsset::AudioStream() const {
    return audio_;
}
std::unique_ptr<MediaVideoStream> const& MediaAsset::VideoStream() const {
    return video_;
}
unsigned long long MediaAsset::AudioStreamIndex() const {
    return audioStreamIndex_;
}
std::wstring MediaAsset::Filename() const {
    return filename_;
}
bool MediaAsset::IsMerged() const {
    return merged_;
}
std::wstring MediaAsset::MergedAudioFilename() const {
    return mergedAudioFilename_;
}

std::shared_ptr<orlo::project::MediaManager> MediaAsset::MediaManager() const {
    return manager_.lock();
}

void MediaAsset::SetAudioStream(std::unique_ptr<MediaAudioStream> stream) {
    audio_ = std::move(stream);
    if (audio_) audio_->merged_ = merged_;
}

void MediaAsset::SetVideoStream(std::unique_ptr<MediaVideoStream> stream) {
    video_ = std::move(stream);
}

void MediaAsset::SetAudioStreamIndex(unsigned long long index) {
    audioStreamIndex_ = index;
}

void MediaAsset::SetMerged(std::wstring mergedAudioFilename) {
    mergedAudioFilename_ = std::move(mergedAudioFilename);
    merged_ = true;
    if (audio_) audio_->merged_ = true;
}

void MediaAsset::ClearMerged() {
    mergedAudioFilename_.clear();
    merged_ = false;
    if (audio_) audio_->merged_ = false;
}

}  // namespace orlo::project
