// SPDX-License-Identifier: MIT
#include "sonrel/project/EditorSequence.h"

#include <stdexcept>

namespace orlo::project {

struct EditorSequenceImpl {
    zrtl::ZRID id;
    AudioVideoSettings settings;
    ZRList<std::shared_ptr<AudioTrack>, ZRListItemDelegate::SharedPtrIDCache> tracks;
    std::shared_ptr<AudioTrack> master;
};

EditorSequence::EditorSequence() : impl_(std::make_unique<EditorSequenceImpl>()) {
    impl_->id = zrtl::ZRID::Create();
    impl_->master = std::make_shared<AudioTrack>();
}

EditorSequence::EditorSequence(EditorSequence const& source,
                               std::unordered_map<zrtl::ZRID, std::shared_ptr<CompositionAsset>>,
                               int)
    : impl_(std::make_unique<EditorSequenceImpl>(*source.impl_)) {}

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
    return InsertAudioTrack(impl_->tracks.size());
}

std::shared_ptr<AudioTrack> EditorSequence::InsertAudioTrack(std::size_t index) {
    auto& tracks = impl_->tracks;
    if (index > tracks.size()) throw std::out_of_range("no such place among the audio tracks");
    auto track = std::make_shared<AudioTrack>();
    tracks.insert(tracks.begin() + static_cast<std::ptrdiff_t>(index), track);
    return track;
}

void EditorSequence::RemoveAudioTrack(std::size_t index) {
    auto& tracks = impl_->tracks;
    if (index >= tracks.size()) throw std::out_of_range("no such audio track");
    tracks.erase(tracks.begin() + static_cast<std::ptrdiff_t>(index));
}

}  // namespace orlo::project
