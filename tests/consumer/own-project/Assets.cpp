// SPDX-License-Identifier: MIT
// Assets, media streams, compositions and layers.
#include <map>
#include <mutex>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/project.h"

namespace orlo::project {

// AbstractAsset: the operations that the engine does not call.

AbstractAsset::~AbstractAsset() = default;
bool AbstractAsset::HasAudioV2() const {
    return HasAudio();
}
bool AbstractAsset::HasVideoV2() const {
    return HasVideo();
}
void AbstractAsset::Sleep() {}
void AbstractAsset::Wake() {}
void AbstractAsset::SetProxy(std::shared_ptr<AssetProxy> const&) {}
std::shared_ptr<AssetProxy> AbstractAsset::Proxy() const {
    return nullptr;
}
void AbstractAsset::RespondToNotification(NotificationState const&) {}
void AbstractAsset::ProcessPixelDataChange() {}

// AssetList

struct AssetListImpl {
    ListChangeObserver<std::shared_ptr<AbstractAsset>, ResponseDelegate::None> all;
};

AssetList::AssetList() : impl_(std::make_unique<AssetListImpl>()) {}
AssetList::~AssetList() = default;

ListChangeObserver<std::shared_ptr<AbstractAsset>, ResponseDelegate::None>& AssetList::All() {
    return impl_->all;
}
void AssetList::Add(std::shared_ptr<AbstractAsset> asset) {
    impl_->all.Add(std::move(asset));
}
std::shared_ptr<AbstractAsset> AssetList::FindByID(zrtl::ZRID const& id) const {
    for (auto const& asset : impl_->all) {
        if (asset->ID() == id) return asset;
    }
    return nullptr;
}

// MediaManager

struct MediaManagerImpl {
    std::mutex mutex;
    std::map<std::wstring, ZRCriticalSection> conformed;
    std::map<std::wstring, ZRCriticalSection> peaks;
};

MediaManager::MediaManager() : impl_(std::make_unique<MediaManagerImpl>()) {}
MediaManager::~MediaManager() = default;

ZRCriticalSection& MediaManager::ConformedAudioCacheFileCS(std::wstring const& mediaPath) {
    const std::lock_guard guard(impl_->mutex);
    return impl_->conformed[mediaPath];
}
ZRCriticalSection& MediaManager::WaveformPeakFileCS(std::wstring const& mediaPath) {
    const std::lock_guard guard(impl_->mutex);
    return impl_->peaks[mediaPath];
}

// MediaAsset

struct MediaAssetImpl {
    zrtl::ZRID id = zrtl::ZRID::Create();
    std::weak_ptr<MediaManager> manager;
    std::wstring filename;
    std::unique_ptr<MediaAudioStream> audio;
    std::unique_ptr<MediaVideoStream> video;
};

MediaAsset::MediaAsset(std::shared_ptr<orlo::project::MediaManager> const& manager,
                       std::wstring filename)
    : impl_(std::make_unique<MediaAssetImpl>()) {
    impl_->manager = manager;
    impl_->filename = std::move(filename);
}
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
    return 0;
}
std::wstring MediaAsset::Filename() const {
    return impl_->filename;
}
bool MediaAsset::IsMerged() const {
    return false;
}
std::wstring MediaAsset::MergedAudioFilename() const {
    return {};
}
std::shared_ptr<orlo::project::MediaManager> MediaAsset::MediaManager() const {
    return impl_->manager.lock();
}
void MediaAsset::SetAudioStream(std::unique_ptr<MediaAudioStream> stream) {
    impl_->audio = std::move(stream);
}
void MediaAsset::SetVideoStream(std::unique_ptr<MediaVideoStream> stream) {
    impl_->video = std::move(stream);
}

// MediaVideoStream

struct MediaVideoStreamImpl {
    double frameRate;
    int frameCount;
};

MediaVideoStream::MediaVideoStream(double frameRate, int frameCount)
    : impl_(new MediaVideoStreamImpl{frameRate, frameCount}) {}
MediaVideoStream::~MediaVideoStream() = default;

double MediaVideoStream::FrameRate() const {
    return impl_->frameRate;
}
int MediaVideoStream::FrameCount() const {
    return impl_->frameCount;
}

// MediaAudioStream

struct MediaAudioStreamImpl {
    ZRAudioCodec codec = ZRAudioCodec::Unknown;
    int nativeRate = 0;
    long long nativeCount = 0;
    bool available = false;
    std::wstring conformedPath;
    int conformedRate = 0;
    long long conformedCount = 0;
    std::wstring peakPath;
};

MediaAudioStream::MediaAudioStream(int nativeRate, long long nativeCount, ZRAudioCodec codec)
    : impl_(std::make_unique<MediaAudioStreamImpl>()) {
    impl_->codec = codec;
    impl_->nativeRate = nativeRate;
    impl_->nativeCount = nativeCount;
}
MediaAudioStream::~MediaAudioStream() = default;

ZRAudioCodec MediaAudioStream::Codec() const {
    return impl_->codec;
}
bool MediaAudioStream::SamplesAvailable() const {
    return impl_->available;
}
void MediaAudioStream::SetSamplesAvailable(bool available) {
    impl_->available = available;
}
std::wstring const& MediaAudioStream::ConformedFilePath() const {
    return impl_->conformedPath;
}
void MediaAudioStream::SetConformedFile(std::wstring const& path, int sampleRate) {
    ConformedAudioFile file;
    impl_->conformedCount = file.Open(path) ? file.SampleCount() : 0;
    impl_->conformedPath = path;
    impl_->conformedRate = sampleRate;
}
void MediaAudioStream::ClearConformedFile() {
    impl_->conformedPath.clear();
    impl_->conformedRate = 0;
    impl_->conformedCount = 0;
}
long long MediaAudioStream::ConformedSampleCount() const {
    return impl_->conformedCount;
}
int MediaAudioStream::ConformedSampleRate() const {
    return impl_->conformedRate;
}
long long MediaAudioStream::NativeSampleCount() const {
    return impl_->nativeCount;
}
int MediaAudioStream::NativeSampleRate() const {
    return impl_->nativeRate;
}
double MediaAudioStream::FrameRate() const {
    return 25.0;
}
bool MediaAudioStream::IsMerged() const {
    return false;
}
std::pair<long long, long long> MediaAudioStream::MergedSampleRange() const {
    return {0, impl_->conformedCount};
}
std::wstring const& MediaAudioStream::WaveformPeakFilePath() const {
    return impl_->peakPath;
}
void MediaAudioStream::SetWaveformPeakFilePath(std::wstring const& path) {
    impl_->peakPath = path;
}
void MediaAudioStream::SetWaveformPreviewAvailable(bool) {}

// Layers

struct LayerImpl {
    zrtl::ZRID id = zrtl::ZRID::Create();
    zrtl::ZRID parent;
    int startFrame = 0;
    int endFrame = 0;
    PropertyManager animation;
    ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges> effects;
    bool muted = false;
};

LayerBase::LayerBase() : impl_(std::make_unique<LayerImpl>()) {
    impl_->animation.SetStaticValue("audioLevel", 0.0f);
    impl_->animation.SetStaticValue("speed", 1.0);
}
LayerBase::~LayerBase() = default;

AbstractLayer::~AbstractLayer() = default;

zrtl::ZRID const& AbstractLayer::ID() const {
    return impl_->id;
}
int AbstractLayer::StartFrame() const {
    return impl_->startFrame;
}
int AbstractLayer::EndFrame() const {
    return impl_->endFrame;
}
int AbstractLayer::StartTime(AssetList const& assets) const {
    return zrtl::SecondsToMs(StartFrame() / ParentComposition(assets)->Settings().FrameRate());
}
std::shared_ptr<CompositionAsset> AbstractLayer::ParentComposition(AssetList const& assets) const {
    return std::static_pointer_cast<CompositionAsset>(assets.FindByID(impl_->parent));
}
PropertyManager& AbstractLayer::Animation() {
    return impl_->animation;
}
bool AbstractLayer::IsMuted() const {
    return impl_->muted;
}
bool AbstractLayer::IsVisible() const {
    return true;
}
ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
AbstractLayer::Effects() {
    return impl_->effects;
}
void AbstractLayer::SetRange(int startFrame, int endFrame) {
    impl_->startFrame = startFrame;
    impl_->endFrame = endFrame;
}
void AbstractLayer::SetMuted(bool muted) {
    impl_->muted = muted;
}

struct AssetLayerImpl {
    zrtl::ZRID asset;
    int sourceStartFrame = 0;
};

AssetLayer::AssetLayer(zrtl::ZRID const& asset) : impl_(new AssetLayerImpl{asset, 0}) {}
AssetLayer::~AssetLayer() = default;

bool AssetLayer::HasAudio() const {
    return true;
}
ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
AssetLayer::Effects() {
    return AbstractLayer::Effects();
}
int AssetLayer::SourceStartFrame() const {
    return impl_->sourceStartFrame;
}
std::shared_ptr<AbstractAsset> AssetLayer::Asset(AssetList const& assets) const {
    return assets.FindByID(impl_->asset);
}
void AssetLayer::SetSourceStartFrame(int frame) {
    impl_->sourceStartFrame = frame;
}

// CompositionAsset

struct CompositionAssetImpl {
    zrtl::ZRID id = zrtl::ZRID::Create();
    AudioVideoSettings settings;
    ListChangeObserver<std::shared_ptr<AbstractLayer>, ResponseDelegate::RecordChanges> layers;

    void Add(const std::shared_ptr<AbstractLayer>& layer) {
        layer->impl_->parent = id;
        layers.Add(layer);
    }
};

CompositionAsset::CompositionAsset() : impl_(std::make_unique<CompositionAssetImpl>()) {}
CompositionAsset::~CompositionAsset() = default;

zrtl::ZRID const& CompositionAsset::ID() const {
    return impl_->id;
}
bool CompositionAsset::HasAudio() const {
    return true;
}
bool CompositionAsset::HasVideo() const {
    return true;
}
AudioVideoSettings& CompositionAsset::Settings() {
    return impl_->settings;
}
ListChangeObserver<std::shared_ptr<AbstractLayer>, ResponseDelegate::RecordChanges>&
CompositionAsset::Layers() {
    return impl_->layers;
}
void CompositionAsset::AddLayer(std::shared_ptr<AbstractLayer> layer) {
    impl_->Add(layer);
}

}  // namespace orlo::project
