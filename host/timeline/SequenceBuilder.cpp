// SPDX-License-Identifier: MIT
#include <map>
#include <utility>

#include "host/shell/Paths.h"
#include "host/timeline/EffectChains.h"
#include "host/timeline/Input.h"
#include "host/timeline/Levels.h"
#include "sonrel/base/Paths.h"
#include "sonrel/project/AssetAudioObject.h"
#include "sonrel/project/AssetLayer.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::host {

namespace {

void SetRates(project::AudioVideoSettings& settings, const otio::Arrangement& arrangement,
              int frameCount) {
    settings.SetFrameRate(arrangement.EngineRate());
    settings.SetCustomAudioSampleRate(arrangement.rate);
    settings.SetFrameCount(frameCount);
}

/// Builds the objects of a project from an arrangement.
class Builder {
public:
    Builder(const otio::Arrangement& arrangement, const std::vector<MediaUse>& media,
            project::Project& project)
        : arrangement_(arrangement), project_(project) {
        for (const MediaUse& use : media) {
            assets_.emplace(std::make_pair(use.location.path, use.sound), use.asset->ID());
        }
    }

    void AddTrack(const otio::PlacedTrack& placed, project::EditorSequence& sequence) const {
        const std::shared_ptr<project::AudioTrack> track = sequence.AddAudioTrack();
        track->SetName(zrtl::FromUtf8(placed.name));
        track->SetMuted(placed.muted);
        track->SetSolo(placed.solo);
        if (placed.stereoBalance) {
            track->Animation().SetStaticValue("stereoBalance", *placed.stereoBalance);
        }
        SetLevel(track->Animation(), placed.level);
        std::vector<std::shared_ptr<project::AssetAudioObject>> objects;
        for (const otio::PlacedClip& clip : placed.clips) {
            objects.push_back(MakeObject(clip));
            track->Objects().Add(objects.back());
        }
        for (const otio::PlacedTransition& transition : placed.transitions) {
            Join(transition, objects);
        }
    }

    /// Adds the composition to the project's assets, after the assets that it shows.
    std::shared_ptr<project::CompositionAsset> MakeComposition(
        const otio::PlacedComposition& placed) const {
        auto composition = std::make_shared<project::CompositionAsset>();
        SetRates(composition->Settings(), arrangement_, placed.frameCount);
        for (const otio::PlacedTrack& track : placed.tracks) {
            for (const otio::PlacedClip& clip : track.clips) {
                const std::shared_ptr<project::AssetLayer> layer = MakeLayer(clip);
                if (track.muted) layer->SetMuted(true);
                composition->AddLayer(layer);
            }
        }
        project_.Assets().Add(composition);
        return composition;
    }

private:
    zrtl::ZRID AssetOf(const otio::PlacedClip& clip) const {
        if (clip.composition != nullptr) return MakeComposition(*clip.composition)->ID();
        return assets_.at({clip.media.path, clip.sound});
    }

    /// Sets the values that objects and layers share.
    template <class Shown>
    void Set(const otio::PlacedClip& clip, Shown& shown) const {
        shown.SetRange(clip.startFrame, clip.endFrame);
        shown.SetSourceStartFrame(clip.sourceStartFrame);
        shown.SetMuted(clip.muted);
        shown.Animation().SetStaticValue("speed", clip.speed);
        SetLevel(shown.Animation(), clip.level);
        for (const ChainLink& link :
             MakeChain(clip, arrangement_.EngineRate(), arrangement_.rate)) {
            shown.AddEffect(link.plugin)->SetEnabled(link.enabled);
        }
    }

    std::shared_ptr<project::AssetAudioObject> MakeObject(const otio::PlacedClip& clip) const {
        auto object = std::make_shared<project::AssetAudioObject>(AssetOf(clip));
        Set(clip, *object);
        return object;
    }

    std::shared_ptr<project::AssetLayer> MakeLayer(const otio::PlacedClip& clip) const {
        auto layer = std::make_shared<project::AssetLayer>(AssetOf(clip));
        Set(clip, *layer);
        return layer;
    }

    /// A side without a clip has a null identity and is silent.
    static void Join(const otio::PlacedTransition& placed,
                     const std::vector<std::shared_ptr<project::AssetAudioObject>>& objects) {
        const auto from = placed.from ? objects.at(*placed.from) : nullptr;
        const auto to = placed.to ? objects.at(*placed.to) : nullptr;
        const auto transition = std::make_shared<project::Transition>(
            MakeCrossFade(placed), from ? from->ID() : zrtl::ZRID(), to ? to->ID() : zrtl::ZRID(),
            placed.length, placed.relativeStartFrame);
        if (from) from->SetOutgoingTransition(transition);
        if (to) to->SetIncomingTransition(transition);
    }

    const otio::Arrangement& arrangement_;
    project::Project& project_;
    std::map<std::pair<std::string, zrh::media::SoundChoice>, zrtl::ZRID> assets_;
};

}  // namespace

void BuildSequence(const otio::Arrangement& arrangement, const std::vector<MediaUse>& media,
                   project::Project& project) {
    const Builder builder(arrangement, media, project);
    project::EditorSequence& sequence = *project.Sequence();
    SetRates(sequence.Settings(), arrangement, arrangement.frameCount);
    SetLevel(sequence.AudioMasterTrack()->Animation(), arrangement.masterLevel);
    for (const otio::PlacedTrack& track : arrangement.tracks) builder.AddTrack(track, sequence);
}

std::shared_ptr<project::CompositionAsset> BuildComposition(
    const otio::Arrangement& arrangement, const otio::PlacedComposition& composition,
    const std::vector<MediaUse>& media, project::Project& project) {
    return Builder(arrangement, media, project).MakeComposition(composition);
}

}  // namespace orlo::host
