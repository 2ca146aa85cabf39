// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <unordered_map>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/base/ZRList.h"
#include "sonrel/project/AudioTrack.h"
#include "sonrel/project/AudioVideoSettings.h"

namespace orlo::project {

class CompositionAsset;
struct EditorSequenceImpl;

/// The editing timeline: settings, audio tracks and a master track.
class SONREL_EXPORT EditorSequence {
public:
    /// No tracks except the master track; the settings of a new AudioVideoSettings.
    EditorSequence();
    /// Settings are copied, the tracks are shared and the identity is the same; the other arguments
    /// are not used.
    EditorSequence(
        EditorSequence const& source,
        std::unordered_map<zrtl::ZRID, std::shared_ptr<CompositionAsset>> compositions = {},
        int = 0);
    EditorSequence& operator=(EditorSequence const&) = delete;
    ~EditorSequence();

    zrtl::ZRID const& ID() const;    ///< the identity of the sequence
    AudioVideoSettings& Settings();  ///< rates and length
    /// By index from 0.
    ZRList<std::shared_ptr<AudioTrack>, ZRListItemDelegate::SharedPtrIDCache>& AudioTracks();
    /// Never empty; its "audioLevel" applies to the sum.
    std::shared_ptr<AudioTrack> const& AudioMasterTrack() const;

    /// Appends an empty track.
    std::shared_ptr<AudioTrack> AddAudioTrack();
    /// Inserts an empty track before the track at @p index.
    /// @throws std::out_of_range when @p index is above the number of tracks
    std::shared_ptr<AudioTrack> InsertAudioTrack(std::size_t index);
    /// @throws std::out_of_range when no track has this index
    void RemoveAudioTrack(std::size_t index);

private:
    std::unique_ptr<EditorSequenceImpl> impl_;
};

}  // namespace orlo::project
