// SPDX-License-Identifier: MIT
#include "host/mix/MixSource.h"

#include <algorithm>
#include <utility>

#include "sonrel/base/StereoFrame.h"
#include "sonrel/project/AudioTrack.h"

namespace orlo::host {

namespace {

bool PlaysComposition(const project::AbstractAssetInstance& instance,
                      const project::AssetList& assets) {
    const auto asset = instance.Asset(assets);
    return asset && asset->AssetType() != 0;
}

bool PlaysCompositions(project::EditorSequence& sequence, const project::AssetList& assets) {
    const auto& tracks = sequence.AudioTracks();
    return std::any_of(tracks.begin(), tracks.end(), [&](const auto& track) {
        const auto& objects = track->Objects().All();
        return std::any_of(objects.begin(), objects.end(),
                           [&](const auto& object) { return PlaysComposition(*object, assets); });
    });
}

bool PlaysCompositions(project::CompositionAsset& composition, const project::AssetList& assets) {
    const auto& layers = composition.Layers();
    return std::any_of(layers.begin(), layers.end(),
                       [&](const auto& layer) { return PlaysComposition(*layer, assets); });
}

}  // namespace

MixSource::MixSource(std::shared_ptr<project::Project> project,
                     std::shared_ptr<project::EditorSequence> sequence)
    : project_(std::move(project)),
      sequence_(std::move(sequence)),
      playsCompositions_(PlaysCompositions(*sequence_, project_->Assets())) {}

MixSource::MixSource(std::shared_ptr<project::Project> project,
                     std::shared_ptr<project::CompositionAsset> composition)
    : project_(std::move(project)),
      composition_(std::move(composition)),
      playsCompositions_(PlaysCompositions(*composition_, project_->Assets())) {}

int MixSource::Mix(const sonrel::AudioMixer& mixer, long long position, int count,
                   unsigned char* buffer) const {
    const int bytes = count * zrtl::FRAME_BYTES;
    return sequence_
               ? mixer.GetSamples(project_, sequence_, position, count, buffer, bytes, 0, 0)
               : mixer.GetSamples(project_, composition_, position, count, buffer, bytes, 0, 0);
}

long long MixSource::NoiseSamples(const sonrel::AudioMixer& mixer, long long position,
                                  int count) const {
    if (!playsCompositions_) return count;
    return sequence_ ? mixer.NoiseSamples(project_, sequence_, position, count, 0, 0)
                     : mixer.NoiseSamples(project_, composition_, position, count, 0, 0);
}

}  // namespace orlo::host
