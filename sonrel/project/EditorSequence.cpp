// SPDX-License-Identifier: MIT
#include "sonrel/project/EditorSequence.h"

#include <stdexcept>

namespace orlo::project {

EditorSequence::EditorSequence()
    : id_(zrtl::ZRID::Create()), master_(std::make_shared<AudioTrack>()) {}

EditorSequence::EditorSequence(EditorSequence const& source,
                               std::unordered_map<zrtl::ZRID, std::shared_ptr<CompositionAsset>>,
                               int)
    : id_(source.id_),
      settings_(source.settings_),
      tracks_(source.tracks_),
      master_(source.master_) {}

EditorSequence::~EditorSequence() = default;

zrtl::ZRID const& EditorSequence::ID() const {
    return id_;
}
AudioVideoSettings& EditorSequence::Settings() {
    return settings_;
}

ZRList<std::shared_ptr<AudioTrack>, ZRListItemDelegate::SharedPtrIDCache>&
EditorSequence::AudioTracks() {
    return tracks_;
}

std::shared_ptr<AudioTrack> const& EditorSequence::AudioMasterTrack() const {
    return master_;
}

std::shared_ptr<AudioTrack> EditorSequence::AddAudioTrack() {
    return InsertAudioTrack(tracks_.size());
}

std::shared_ptr<AudioTrack> EditorSequence::InsertAudioTrack(std::size_t index) {
    if (index > tracks_.size()) throw std::out_of_range("no such place among the audio tracks");
    auto track = std::make_shared<AudioTrack>();
    tracks_.insert(tracks_.begin() + static_cast<std::ptrdiff_t>(index), track);
    return track;
}

void EditorSequence::RemoveAudioTrack(std::size_t index) {
    if (index >= tracks_.size()) throw std::out_of_range("no such audio track");
    tracks_.erase(tracks_.begin() + static_cast<std::ptrdiff_t>(index));
}

}  // namespace orlo::project
