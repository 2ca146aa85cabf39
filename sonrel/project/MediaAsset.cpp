// SPDX-License-Identifier: MIT
#include "sonrel/project/MediaAsset.h"

#include <utility>

#include "sonrel/project/MediaManager.h"

namespace orlo::project {

struct MediaAssetImpl {
    zrtl::ZRID id;
    std::weak_ptr<MediaManager> manager;
    std::wstring filename;
    std::unique_ptr<MediaAudioStream> audio;
    std::unique_ptr<MediaVideoStream> video;
    unsigned long long audioStreamIndex = 0;
    bool merged = false;
    std::wstring mergedAudioFilename;
};

namespace {

template <class T>
std::unique_ptr<T> CopyOf(const std::unique_ptr<T>& stream) {
    return stream ? std::make_unique<T>(*stream) : nullptr;
}

std::unique_ptr<MediaAssetImpl> CopyOf(const MediaAssetImpl& source,
                                       const std::weak_ptr<MediaManager>& manager) {
    return std::unique_ptr<MediaAssetImpl>(
        new MediaAssetImpl{source.id, manager.expired() ? source.manager : manager, source.filename,
                           CopyOf(source.audio), CopyOf(source.video), source.audioStreamIndex,
                           source.merged, source.mergedAudioFilename});
}

}  // namespace

MediaAsset::MediaAsset(std::shared_ptr<orlo::project::MediaManager> const& manager,
                       std::wstring filename)
    : impl_(std::make_unique<MediaAssetImpl>()) {
    impl_->id = zrtl::ZRID::Create();
    impl_->manager = manager;
    impl_->filename = std::move(filename);
}

MediaAsset::MediaAsset(MediaAsset const& source,
                       std::weak_ptr<orlo::project::MediaManager> const& manager, int)
    : AbstractAsset(source),
      std::enable_shared_from_this<MediaAsset>(source),
      impl_(CopyOf(*source.impl_, manager)) {}

MediaAsset::~MediaAsset() = default;

zrtl::ZRID const& MediaAsset::ID() const {
    return impl_->id;
}
bool MediaAsset::HasAudio() const {
    return impl_->audio != nullptr;
}
bool MediaAsset::HasVideo() const {
    return impl_->video != nullptr;
}

std::unique_ptr<MediaAudioStream> const& MediaAsset::AudioStream() const {
    return impl_->audio;
}
std::unique_ptr<MediaVideoStream> const& MediaAsset::VideoStream() const {
    return impl_->video;
}
unsigned long long MediaAsset::AudioStreamIndex() const {
    return impl_->audioStreamIndex;
}
std::wstring MediaAsset::Filename() const {
    return impl_->filename;
}
bool MediaAsset::IsMerged() const {
    return impl_->merged;
}
std::wstring MediaAsset::MergedAudioFilename() const {
    return impl_->mergedAudioFilename;
}

std::shared_ptr<orlo::project::MediaManager> MediaAsset::MediaManager() const {
    return impl_->manager.lock();
}

void MediaAsset::SetAudioStream(std::unique_ptr<MediaAudioStream> stream) {
    impl_->audio = std::move(stream);
    if (impl_->audio) impl_->audio->SetMerged(impl_->merged);
}

void MediaAsset::SetVideoStream(std::unique_ptr<MediaVideoStream> stream) {
    impl_->video = std::move(stream);
}

void MediaAsset::SetAudioStreamIndex(unsigned long long index) {
    impl_->audioStreamIndex = index;
}

void MediaAsset::SetMerged(std::wstring mergedAudioFilename) {
    impl_->mergedAudioFilename = std::move(mergedAudioFilename);
    impl_->merged = true;
    if (impl_->audio) impl_->audio->SetMerged(true);
}

void MediaAsset::ClearMerged() {
    impl_->mergedAudioFilename.clear();
    impl_->merged = false;
    if (impl_->audio) impl_->audio->SetMerged(false);
}

}  // namespace orlo::project
