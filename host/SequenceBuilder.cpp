// SPDX-License-Identifier: MIT
#include <map>
#include <utility>

#include "host/Input.h"
#include "host/Paths.h"
#include "sonrel/contracts/project/AssetAudioObject.h"
#include "sonrel/contracts/project/EditorSequence.h"
#include "sonrel/contracts/zrtl/Paths.h"

namespace orlo::host {

namespace {

using AssetIDs = std::map<std::pair<std::string, int>, zrtl::ZRID>;

void SetLevel(project::PropertyManager& properties, const otio::LevelCurve& level) {
    if (level.decibels) properties.SetStaticValue("audioLevel", *level.decibels);
    for (const otio::LevelCurve::Key& key : level.keys) {
        properties.SetKeyframe("audioLevel", key.timeMs, key.decibels);
    }
}

std::shared_ptr<project::AssetAudioObject> MakeObject(const otio::PlacedClip& clip,
                                                      const AssetIDs& assets) {
    auto object =
        std::make_shared<project::AssetAudioObject>(assets.at({clip.media.path, clip.stream}));
    object->SetRange(clip.startFrame, clip.endFrame);
    object->SetSourceStartFrame(clip.sourceStartFrame);
    object->SetMuted(clip.muted);
    object->Animation().SetStaticValue("speed", clip.speed);
    SetLevel(object->Animation(), clip.level);
    return object;
}

void AddTrack(const otio::PlacedTrack& placed, const AssetIDs& assets,
              project::EditorSequence& sequence) {
    const std::shared_ptr<project::AudioTrack> track = sequence.AddAudioTrack();
    track->SetName(zrtl::FromUtf8(placed.name));
    track->SetMuted(placed.muted);
    track->SetSolo(placed.solo);
    if (placed.stereoBalance) {
        track->Animation().SetStaticValue("stereoBalance", *placed.stereoBalance);
    }
    SetLevel(track->Animation(), placed.level);
    for (const otio::PlacedClip& clip : placed.clips) {
        track->Objects().Add(MakeObject(clip, assets));
    }
}

}  // namespace

void BuildSequence(const otio::Arrangement& arrangement, const std::vector<MediaUse>& media,
                   project::Project& project) {
    AssetIDs assets;
    for (const MediaUse& use : media) {
        assets.emplace(std::make_pair(use.location.path, use.stream), use.asset->ID());
    }
    project::EditorSequence& sequence = *project.Sequence();
    sequence.Settings().SetFrameRate(arrangement.fps);
    sequence.Settings().SetCustomAudioSampleRate(arrangement.rate);
    sequence.Settings().SetFrameCount(arrangement.frameCount);
    SetLevel(sequence.AudioMasterTrack()->Animation(), arrangement.masterLevel);
    for (const otio::PlacedTrack& track : arrangement.tracks) AddTrack(track, assets, sequence);
}

}  // namespace orlo::host
