// SPDX-License-Identifier: MIT
#include "sonrel/project/AudioTrack.h"

#include <utility>

namespace orlo::project {

struct AudioTrackImpl {
    zrtl::ZRID id;
    std::wstring name;
    PropertyManager animation;
    SequenceObjectList objects;
    bool muted = false;
    bool solo = false;
};

AudioTrack::AudioTrack() : impl_(std::make_unique<AudioTrackImpl>()) {
    impl_->id = zrtl::ZRID::Create();
    impl_->animation.SetStaticValue("audioLevel", 0.0f);
    impl_->animation.SetStaticValue("stereoBalance", 0.0f);
}

AudioTrack::AudioTrack(AudioTrack const& source,
                       std::unordered_map<zrtl::ZRID, std::shared_ptr<CompositionAsset>>,
                       EditorSequence*, int)
    : AbstractSequenceTrack(source), impl_(std::make_unique<AudioTrackImpl>(*source.impl_)) {}

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
zrtl::ZRID const& AudioTrack::ID() const {
    return impl_->id;
}
void AudioTrack::SetMuted(bool muted) {
    impl_->muted = muted;
}
void AudioTrack::SetSolo(bool solo) {
    impl_->solo = solo;
}
std::wstring const& AudioTrack::Name() const {
    return impl_->name;
}
void AudioTrack::SetName(std::wstring name) {
    impl_->name = std::move(name);
}

}  // namespace orlo::project
