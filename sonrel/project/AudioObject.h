// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/base/Export.h"
#include "sonrel/project/AbstractSequenceObject.h"

namespace orlo::project {

struct AudioObjectImpl;

/// An object on an audio track.
class SONREL_EXPORT AudioObject : public AbstractSequenceObject {
public:
    AudioObject();
    AudioObject(AudioObject const& source, bool = false, int = 0);  ///< as the copy of its base
    ~AudioObject() override;

    bool IsMuted() const;       ///< whether the object is silent
    void SetMuted(bool muted);  ///< a muted object is silent

private:
    std::unique_ptr<AudioObjectImpl> impl_;
};

/// An audio object that shows no asset and is silent.
class SONREL_EXPORT GapAudioObject : public AudioObject {
public:
    GapAudioObject() = default;
    ~GapAudioObject() override;

    int ObjectType() const override { return 1; }
    int SourceStartFrame() const override { return 0; }
    std::shared_ptr<AbstractAsset> Asset(AssetList const&) const override { return nullptr; }
};

}  // namespace orlo::project
