// SPDX-License-Identifier: MIT
#include "sonrel/project/AudioTrack.h"

#include <utility>

namespace orlo::project {

AudioTrack::AudioTrack() : id_(zrtl::ZRID::Create()) {
    animation_.SetStaticValue("audioLevel", 0.0f);
    animation_.SetStaticValue("stereoBalance", 0.0f);
}

AudioTrack::AudioTrack(AudioTrack const& source,
                       std::unordered_map<zrtl::ZRID, std::shared_ptr<CompositionAsset>>,
                       EditorSequence*, int)
    : AbstractSequenceTrack(source),
      id_(source.id_),
      name_(source.name_),
      animation_(source.animation_),
      objects_(source.objects_),
      muted_(source.muted_),
      solo_(source.solo_) {}

AudioTrack::~AudioTrack() = default;

PropertyManager& AudioTrack::Animation() {
    return animation_;
}
SequenceObjectList& AudioTrack::Objects() {
    return objects_;
}
bool AudioTrack::IsMuted() const {
    return muted_;
}
bool AudioTrack::IsSolo() const {
    return solo_;
}
zrtl::ZRID const& AudioTrack::ID() const {
    return id_;
}
void AudioTrack::SetMuted(bool muted) {
    muted_ = muted;
}
void AudioTrack::SetSolo(bool solo) {
    solo_ = solo;
}
std::wstring const& AudioTrack::Name() const {
    return name_;
}
void AudioTrack::SetName(std::wstring name) {
    name_ = std::move(name);
}

}  // namespace orlo::project
