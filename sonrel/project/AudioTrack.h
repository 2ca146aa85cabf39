// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/PropertyManager.h"
#include "sonrel/project/AbstractSequenceTrack.h"
#include "sonrel/project/SequenceObjectList.h"

namespace orlo::project {

class CompositionAsset;
class EditorSequence;
struct AudioTrackImpl;

/// An audio track. Its properties "audioLevel" (float, dB) and "stereoBalance" (float, -1 left to
/// 1 right) are 0 in a new track.
class SONREL_EXPORT AudioTrack : public AbstractSequenceTrack {
public:
    AudioTrack();
    /// Properties and flags are copied, the objects are shared and the identity is the same; the
    /// other arguments are not used.
    AudioTrack(AudioTrack const& source,
               std::unordered_map<zrtl::ZRID, std::shared_ptr<CompositionAsset>> compositions = {},
               EditorSequence* sequence = nullptr, int = 0);
    AudioTrack& operator=(AudioTrack const&) = delete;
    ~AudioTrack() override;

    PropertyManager& Animation() override;   ///< the properties above
    SequenceObjectList& Objects() override;  ///< without overlaps

    /// A muted track is silent, even when it is solo.
    bool IsMuted() const;
    /// While any track is solo, the others are silent.
    bool IsSolo() const;

    zrtl::ZRID const& ID() const;      ///< the identity of the track
    void SetMuted(bool muted);         ///< see IsMuted
    void SetSolo(bool solo);           ///< see IsSolo
    std::wstring const& Name() const;  ///< for the user; may be empty
    void SetName(std::wstring name);   ///< not used by the mix

private:
    std::unique_ptr<AudioTrackImpl> impl_;
};

}  // namespace orlo::project
