// SPDX-License-Identifier: MIT
#include "sonrel/project/AudioObject.h"

namespace orlo::project {

AudioObject::AudioObject(AudioObject const& source, bool, int)
    : AbstractSequenceObject(source), muted_(source.muted_) {}
AudioObject::~AudioObject() = default;

bool AudioObject::IsMuted() const {
    return muted_;
}
void AudioObject::SetMuted(bool muted) {
    muted_ = muted;
}

GapAudioObject::~GapAudioObject() = default;

}  // namespace orlo::project
