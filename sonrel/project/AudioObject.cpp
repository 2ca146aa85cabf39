// SPDX-License-Identifier: MIT
#include "sonrel/project/AudioObject.h"

namespace orlo::project {

struct AudioObjectImpl {
    bool muted = false;
};

AudioObject::AudioObject() : impl_(std::make_unique<AudioObjectImpl>()) {}
AudioObject::AudioObject(AudioObject const& source, bool, int)
    : AbstractSequenceObject(source), impl_(std::make_unique<AudioObjectImpl>(*source.impl_)) {}
AudioObject::~AudioObject() = default;

bool AudioObject::IsMuted() const {
    return impl_->muted;
}
void AudioObject::SetMuted(bool muted) {
    impl_->muted = muted;
}

GapAudioObject::~GapAudioObject() = default;

}  // namespace orlo::project
