// SPDX-License-Identifier: MIT
#include "tests/reference/RandomScene.h"

#include <cmath>
#include <utility>

#include "tests/support/TracingPlugins.h"

namespace sonrel_tests {
namespace {

/// @return a whole number from @p low to @p high, both included
int Pick(std::mt19937& random, int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned int>(high - low + 1));
}

bool Chance(std::mt19937& random, int percent) {
    return Pick(random, 1, 100) <= percent;
}

template <class T>
T OneOf(std::mt19937& random, std::initializer_list<T> values) {
    return *(values.begin() + Pick(random, 0, static_cast<int>(values.size()) - 1));
}

float RandomLevelValue(std::mt19937& random) {
    return OneOf(random, {0.0f, -3.0f, -6.0f, 6.0f, -17.7f, 0.1f, -60.0f}) +
           static_cast<float>(Pick(random, 0, 3)) * 0.37f;
}

reference::Level RandomLevel(std::mt19937& random) {
    reference::Level level;
    if (Chance(random, 40)) return level;
    if (Chance(random, 50)) {
        level.fixed = RandomLevelValue(random);
        return level;
    }
    int ms = Pick(random, -50, 100);
    for (int i = Pick(random, 1, 4); i > 0; --i) {
        level.keys.push_back({ms, RandomLevelValue(random)});
        ms += Pick(random, 1, 150);
    }
    return level;
}

std::vector<reference::Effect> RandomEffects(std::mt19937& random) {
    std::vector<reference::Effect> effects;
    for (int i = Pick(random, 1, 3); i > 0; --i) {
        const int back = OneOf(random, {0, 0, 10, 500});
        const int ahead = OneOf(random, {0, 0, 7});
        effects.push_back({std::make_shared<TracingEffect>(back, ahead), !Chance(random, 20)});
    }
    return effects;
}

reference::Clip RandomClip(const SceneKind& kind, std::mt19937& random, int compositionsFrom,
                           int compositionsTo) {
    reference::Clip clip;
    if (kind.compositions && compositionsFrom < compositionsTo && Chance(random, 35)) {
        clip.composition = Pick(random, compositionsFrom, compositionsTo - 1);
    } else {
        clip.media = Pick(random, 0, static_cast<int>(Shelf().Media().size()) - 1);
    }
    clip.inPointFrame = Chance(random, 50) ? 0 : Pick(random, 0, 4);
    if (kind.speeds && Chance(random, 25)) {
        clip.speed = OneOf(random, {0.25, 0.5, 0.999, 1.0004, 1.001, 1.37, 2.0, 3.3});
    }
    clip.level = RandomLevel(random);
    clip.muted = Chance(random, 8);
    if (kind.effects && Chance(random, 50)) clip.effects = RandomEffects(random);
    return clip;
}

reference::Track RandomTrack(const SceneKind& kind, std::mt19937& random, int compositions) {
    reference::Track track;
    track.muted = Chance(random, 8);
    track.solo = Chance(random, 8);
    track.level = RandomLevel(random);
    track.balance = OneOf(random, {0.0f, 0.0f, 0.3f, -0.5f, 1.0f, -1.0f, 1.5f, -0.0f});
    int frame = Pick(random, 0, 2);
    while (frame < kind.settings.frameCount) {
        reference::Clip clip = RandomClip(kind, random, 0, compositions);
        clip.startFrame = frame;
        clip.endFrame = frame + Pick(random, 1, 6);
        frame = clip.endFrame + (Chance(random, 70) ? 0 : Pick(random, 1, 3));
        track.clips.push_back(std::move(clip));
    }
    if (!kind.transitions) return track;
    const int clips = static_cast<int>(track.clips.size());
    for (int i = 0; i < clips; ++i) {
        if (!Chance(random, 70)) continue;
        const bool joins = i + 1 < clips;
        track.transitions.push_back({std::make_shared<TracingTransition>(), i, joins ? i + 1 : -1,
                                     Pick(random, 1, 6), Pick(random, -5, 2)});
        const int index = static_cast<int>(track.transitions.size()) - 1;
        track.clips[static_cast<std::size_t>(i)].outgoing = index;
        if (joins) track.clips[static_cast<std::size_t>(i) + 1].incoming = index;
    }
    return track;
}

reference::Composition RandomComposition(const SceneKind& kind, std::mt19937& random, int index,
                                         int compositions) {
    reference::Composition composition;
    composition.settings = kind.settings;
    if (Chance(random, 50)) composition.settings.rate = OneOf(random, {8000, 44100, 48000});
    if (Chance(random, 50)) composition.settings.frameRate = OneOf(random, {24.0, 29.97, 60.0});
    composition.settings.frameCount = Pick(random, 0, 14);
    for (int i = Pick(random, 0, 3); i > 0; --i) {
        reference::Clip layer = RandomClip(kind, random, index + 1, compositions);
        layer.startFrame = Pick(random, 0, 6);
        layer.endFrame = layer.startFrame + Pick(random, 1, 10);
        layer.visible = !Chance(random, 8);
        layer.hasAudio = !Chance(random, 8);
        composition.layers.push_back(std::move(layer));
    }
    return composition;
}

void Realise(const reference::Settings& from, project::AudioVideoSettings& to) {
    Apply({from.frameRate, from.rate, from.frameCount}, to);
}

void Realise(const reference::Level& level, project::PropertyManager& animation) {
    animation.SetStaticValue("audioLevel", level.fixed);
    for (const reference::Level::Key& key : level.keys) {
        animation.SetKeyframe("audioLevel", key.ms, key.value);
    }
}

/// The part that objects and layers share.
template <class Placed>
void Realise(const reference::Clip& clip, Placed& placed) {
    placed.SetRange(clip.startFrame, clip.endFrame);
    placed.SetSourceStartFrame(clip.inPointFrame);
    placed.SetMuted(clip.muted);
    placed.Animation().SetStaticValue("speed", clip.speed);
    Realise(clip.level, placed.Animation());
    for (const reference::Effect& effect : clip.effects) {
        placed.AddEffect(effect.plugin)->SetEnabled(effect.enabled);
    }
}

}  // namespace

MediaShelf::MediaShelf() {
    const auto add = [&](int frames) -> reference::Media& {
        reference::Media media;
        media.samples = Noise(frames, static_cast<unsigned int>(frames));
        media.conformedCount = frames;
        paths_.push_back(files_.WriteConformed(media.samples));
        media_.push_back(std::move(media));
        return media_.back();
    };
    for (const int frames : {0, 1, 700, 5000, 20000, 40000, 60000}) add(frames);
    add(30000).available = false;
    reference::Media& merged = add(9000);
    merged.merged = true;
    merged.mergedFirst = 1500;
    merged.mergedEnd = 16000;
    merged.conformedCount = 20000;
    reference::Media& quiet = add(50000);
    quiet.conformedCount = 45000;
}

const MediaShelf& Shelf() {
    static const MediaShelf SHELF;
    return SHELF;
}

reference::Scene MakeRandomScene(const SceneKind& kind, std::mt19937& random) {
    reference::Scene scene;
    scene.media = Shelf().Media();
    const int compositions = kind.compositions ? Pick(random, 1, 3) : 0;
    for (int i = 0; i < compositions; ++i) {
        scene.compositions.push_back(RandomComposition(kind, random, i, compositions));
    }
    scene.sequence.settings = kind.settings;
    for (int i = Pick(random, 0, 4); i > 0; --i) {
        scene.sequence.tracks.push_back(RandomTrack(kind, random, compositions));
    }
    scene.sequence.master = RandomLevel(random);
    return scene;
}

RealisedScene::RealisedScene(const reference::Scene& scene) {
    AddMedia(scene);
    for (const reference::Composition& from : scene.compositions) {
        compositions_.push_back(std::make_shared<project::CompositionAsset>());
        Realise(from.settings, compositions_.back()->Settings());
        project_->Assets().Add(compositions_.back());
    }
    for (std::size_t i = 0; i < scene.compositions.size(); ++i) {
        layers_.emplace_back();
        for (const reference::Clip& clip : scene.compositions[i].layers) {
            const auto layer = std::make_shared<project::AssetLayer>(AssetOf(clip));
            Realise(clip, *layer);
            layer->SetVisible(clip.visible);
            layer->SetHasAudio(clip.hasAudio);
            compositions_[i]->AddLayer(layer);
            layers_.back().push_back(layer);
        }
    }
    Realise(scene.sequence.settings, Sequence()->Settings());
    Realise(scene.sequence.master, Sequence()->AudioMasterTrack()->Animation());
    for (const reference::Track& track : scene.sequence.tracks) AddTrack(track);
}

zrtl::ZRID RealisedScene::AssetOf(const reference::Clip& clip) const {
    return clip.media >= 0 ? media_[static_cast<std::size_t>(clip.media)]->ID()
                           : compositions_[static_cast<std::size_t>(clip.composition)]->ID();
}

void RealisedScene::AddMedia(const reference::Scene& scene) {
    for (std::size_t i = 0; i < scene.media.size(); ++i) {
        const reference::Media& from = scene.media[i];
        auto stream =
            std::make_unique<project::MediaAudioStream>(48000, 0, zrh::media::ZRAudioCodec::Pcm);
        stream->SetConformedFile(Shelf().ConformedPath(i), 48000);
        stream->SetConformedSampleCount(from.conformedCount);
        stream->SetSamplesAvailable(from.available);
        if (from.merged) stream->SetMergedSampleRange(from.mergedFirst, from.mergedEnd);
        media_.push_back(std::make_shared<project::MediaAsset>(project_->Manager(), L"take.wav"));
        media_.back()->SetAudioStream(std::move(stream));
        if (from.merged) media_.back()->SetMerged(L"sound.wav");
        project_->Assets().Add(media_.back());
    }
}

void RealisedScene::AddTrack(const reference::Track& track) {
    const auto to = Sequence()->AddAudioTrack();
    to->SetMuted(track.muted);
    to->SetSolo(track.solo);
    to->Animation().SetStaticValue("stereoBalance", track.balance);
    Realise(track.level, to->Animation());
    auto& objects = objects_.emplace_back();
    for (const reference::Clip& clip : track.clips) {
        const auto object = std::make_shared<project::AssetAudioObject>(AssetOf(clip));
        Realise(clip, *object);
        to->Objects().Add(object);
        objects.push_back(object);
    }
    const auto idOf = [&](int clip) {
        return clip < 0 ? zrtl::ZRID() : objects[static_cast<std::size_t>(clip)]->ID();
    };
    std::vector<std::shared_ptr<project::Transition>> transitions;
    for (const reference::Transition& from : track.transitions) {
        transitions.push_back(std::make_shared<project::Transition>(
            from.plugin, idOf(from.from), idOf(from.to), from.length, from.relativeStart));
    }
    for (std::size_t i = 0; i < track.clips.size(); ++i) {
        const reference::Clip& clip = track.clips[i];
        if (clip.incoming >= 0) {
            objects[i]->SetIncomingTransition(transitions[static_cast<std::size_t>(clip.incoming)]);
        }
        if (clip.outgoing >= 0) {
            objects[i]->SetOutgoingTransition(transitions[static_cast<std::size_t>(clip.outgoing)]);
        }
    }
}

}  // namespace sonrel_tests
