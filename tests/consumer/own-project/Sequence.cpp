// SPDX-License-Identifier: MIT
// The project, its sequence, tracks, objects and transitions.
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/project.h"

namespace orlo::project {

// AudioVideoSettings

struct AudioVideoSettingsImpl {
    double frameRate = 25.0;
    int frameCount = 0;
    int hertz = 48000;
};

AudioVideoSettings::AudioVideoSettings() : impl_(std::make_unique<AudioVideoSettingsImpl>()) {}
AudioVideoSettings::~AudioVideoSettings() = default;

double AudioVideoSettings::FrameRate() const {
    return impl_->frameRate;
}
int AudioVideoSettings::FrameCount() const {
    return impl_->frameCount;
}
int AudioVideoSettings::AudioSampleRateValue() const {
    return impl_->hertz;
}
double AudioVideoSettings::MsPerFrame(double frameRate) {
    return 1000.0 / frameRate;
}
void AudioVideoSettings::SetFrameRate(double frameRate) {
    impl_->frameRate = frameRate;
}
void AudioVideoSettings::SetFrameCount(int frameCount) {
    impl_->frameCount = frameCount;
}
void AudioVideoSettings::SetCustomAudioSampleRate(int hertz) {
    impl_->hertz = hertz;
}

// Project

struct ProjectImpl {
    std::shared_ptr<MediaManager> manager = std::make_shared<MediaManager>();
    AssetList assets;
    std::shared_ptr<EditorSequence> sequence = std::make_shared<EditorSequence>();
};

Project::Project() : impl_(std::make_unique<ProjectImpl>()) {}
Project::~Project() = default;

AssetList& Project::Assets() {
    return impl_->assets;
}
std::shared_ptr<EditorSequence> const& Project::Sequence() const {
    return impl_->sequence;
}
std::shared_ptr<MediaManager> const& Project::Manager() const {
    return impl_->manager;
}

// EditorSequence

struct EditorSequenceImpl {
    zrtl::ZRID id = zrtl::ZRID::Create();
    AudioVideoSettings settings;
    ZRList<std::shared_ptr<AudioTrack>, ZRListItemDelegate::SharedPtrIDCache> tracks;
    std::shared_ptr<AudioTrack> master = std::make_shared<AudioTrack>();
};

EditorSequence::EditorSequence() : impl_(std::make_unique<EditorSequenceImpl>()) {}
EditorSequence::~EditorSequence() = default;

zrtl::ZRID const& EditorSequence::ID() const {
    return impl_->id;
}
AudioVideoSettings& EditorSequence::Settings() {
    return impl_->settings;
}
ZRList<std::shared_ptr<AudioTrack>, ZRListItemDelegate::SharedPtrIDCache>&
EditorSequence::AudioTracks() {
    return impl_->tracks;
}
std::shared_ptr<AudioTrack> const& EditorSequence::AudioMasterTrack() const {
    return impl_->master;
}
std::shared_ptr<AudioTrack> EditorSequence::AddAudioTrack() {
    impl_->tracks.push_back(std::make_shared<AudioTrack>());
    return impl_->tracks[impl_->tracks.size() - 1];
}

// AudioTrack

struct AudioTrackImpl {
    PropertyManager animation;
    SequenceObjectList objects;
    bool muted = false;
    bool solo = false;
};

AudioTrack::AudioTrack() : impl_(std::make_unique<AudioTrackImpl>()) {
    impl_->animation.SetStaticValue("audioLevel", 0.0f);
    impl_->animation.SetStaticValue("stereoBalance", 0.0f);
}
AudioTrack::~AudioTrack() = default;

PropertyManager& AudioTrack::Animation() {
    return impl_->animation;
}
SequenceObjectList& AudioTrack::Objects() {
    return impl_->objects;
}
bool AudioTrack::IsMuted() const {
    return impl_->muted;
}
bool AudioTrack::IsSolo() const {
    return impl_->solo;
}
void AudioTrack::SetMuted(bool muted) {
    impl_->muted = muted;
}

// SequenceObjectList: a search through all objects.

struct SequenceObjectListImpl {
    std::vector<std::shared_ptr<AbstractSequenceObject>> objects;
};

SequenceObjectList::SequenceObjectList() : impl_(std::make_unique<SequenceObjectListImpl>()) {}
SequenceObjectList::~SequenceObjectList() = default;

std::shared_ptr<AbstractSequenceObject> SequenceObjectList::FindOnFrame(int frame) const {
    for (auto const& object : impl_->objects) {
        if (frame >= object->StartFrame() && frame < object->EndFrame()) return object;
    }
    return nullptr;
}
std::shared_ptr<AbstractSequenceObject> SequenceObjectList::GetByID(zrtl::ZRID const& id) const {
    for (auto const& object : impl_->objects) {
        if (object->ID() == id) return object;
    }
    return nullptr;
}
void SequenceObjectList::Add(std::shared_ptr<AbstractSequenceObject> object) {
    impl_->objects.push_back(std::move(object));
}

// Objects

struct SequenceObjectImpl {
    zrtl::ZRID id = zrtl::ZRID::Create();
    int startFrame = 0;
    int endFrame = 0;
    PropertyManager animation;
    ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges> effects;
    std::shared_ptr<Transition> incoming;
    std::shared_ptr<Transition> outgoing;
};

SequenceObjectBase::SequenceObjectBase() : impl_(std::make_unique<SequenceObjectImpl>()) {
    impl_->animation.SetStaticValue("audioLevel", 0.0f);
    impl_->animation.SetStaticValue("speed", 1.0);
}
SequenceObjectBase::~SequenceObjectBase() = default;

AbstractSequenceObject::~AbstractSequenceObject() = default;

zrtl::ZRID const& AbstractSequenceObject::ID() const {
    return impl_->id;
}
int AbstractSequenceObject::StartFrame() const {
    return impl_->startFrame;
}
int AbstractSequenceObject::EndFrame() const {
    return impl_->endFrame;
}
int AbstractSequenceObject::StartTime(std::shared_ptr<EditorSequence> const& sequence) const {
    return zrtl::SecondsToMs(StartFrame() / sequence->Settings().FrameRate());
}
PropertyManager& AbstractSequenceObject::Animation() {
    return impl_->animation;
}
ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
AbstractSequenceObject::Effects() {
    return impl_->effects;
}
std::shared_ptr<Transition> const& AbstractSequenceObject::IncomingTransition() const {
    return impl_->incoming;
}
std::shared_ptr<Transition> const& AbstractSequenceObject::OutgoingTransition() const {
    return impl_->outgoing;
}
void AbstractSequenceObject::SetRange(int startFrame, int endFrame) {
    impl_->startFrame = startFrame;
    impl_->endFrame = endFrame;
}
std::shared_ptr<EffectInstance> AbstractSequenceObject::AddEffect(
    std::shared_ptr<AbstractPlugin> plugin) {
    auto effect = std::make_shared<EffectInstance>(std::move(plugin));
    impl_->effects.Add(effect);
    return effect;
}
void AbstractSequenceObject::SetIncomingTransition(std::shared_ptr<Transition> transition) {
    impl_->incoming = std::move(transition);
}
void AbstractSequenceObject::SetOutgoingTransition(std::shared_ptr<Transition> transition) {
    impl_->outgoing = std::move(transition);
}

struct AudioObjectImpl {};

AudioObject::AudioObject() = default;
AudioObject::~AudioObject() = default;

bool AudioObject::IsMuted() const {
    return false;
}

struct AssetAudioObjectImpl {
    zrtl::ZRID asset;
    int sourceStartFrame = 0;
};

AssetAudioObject::AssetAudioObject(zrtl::ZRID const& asset)
    : impl_(new AssetAudioObjectImpl{asset, 0}) {}
AssetAudioObject::~AssetAudioObject() = default;

int AssetAudioObject::SourceStartFrame() const {
    return impl_->sourceStartFrame;
}
std::shared_ptr<AbstractAsset> AssetAudioObject::Asset(AssetList const& assets) const {
    return assets.FindByID(impl_->asset);
}
void AssetAudioObject::SetSourceStartFrame(int frame) {
    impl_->sourceStartFrame = frame;
}

// Transition

struct TransitionImpl {
    zrtl::ZRID id;
    std::shared_ptr<AbstractPlugin> plugin;
    zrtl::ZRID from;
    zrtl::ZRID to;
    int length;
    int relativeStartFrame;
};

Transition::Transition(std::shared_ptr<AbstractPlugin> plugin, zrtl::ZRID const& from,
                       zrtl::ZRID const& to, int length, int relativeStartFrame)
    : impl_(new TransitionImpl{zrtl::ZRID::Create(), std::move(plugin), from, to, length,
                               relativeStartFrame}) {}
Transition::~Transition() = default;

zrtl::ZRID const& Transition::ID() const {
    return impl_->id;
}
std::shared_ptr<AbstractPlugin> Transition::Plugin() {
    return impl_->plugin;
}
int Transition::Length() const {
    return impl_->length;
}
int Transition::RelativeStartFrame() const {
    return impl_->relativeStartFrame;
}
zrtl::ZRID const& Transition::FromObject() const {
    return impl_->from;
}
zrtl::ZRID const& Transition::ToObject() const {
    return impl_->to;
}

}  // namespace orlo::project
