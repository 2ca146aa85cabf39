// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/reference/ReferenceMix.h"
#include "tests/support/ProjectBuilder.h"

namespace sonrel_tests {

namespace reference = orlo::sonrel::reference;

/// The media of all scenes of a program, written once.
class MediaShelf {
public:
    MediaShelf();

    const std::vector<reference::Media>& Media() const { return media_; }
    const std::wstring& ConformedPath(std::size_t media) const { return paths_[media]; }

private:
    ProjectBuilder files_;
    std::vector<reference::Media> media_;
    std::vector<std::wstring> paths_;
};

const MediaShelf& Shelf();

/// The parts of a random scene in addition to objects, levels, balance, mute and solo.
struct SceneKind {
    reference::Settings settings;
    bool speeds = true;
    bool effects = false;
    bool transitions = false;
    bool compositions = false;
};

/// A small scene with these media.
reference::Scene MakeRandomScene(const SceneKind& kind, std::mt19937& random);

/// The project of a scene, with its parts by the scene's indices.
class RealisedScene {
public:
    explicit RealisedScene(const reference::Scene& scene);

    const std::shared_ptr<project::Project>& Project() const { return project_; }
    const std::shared_ptr<project::EditorSequence>& Sequence() const {
        return project_->Sequence();
    }
    const std::shared_ptr<project::CompositionAsset>& Composition(std::size_t i) const {
        return compositions_[i];
    }
    const std::shared_ptr<project::AssetAudioObject>& Object(std::size_t track,
                                                             std::size_t clip) const {
        return objects_[track][clip];
    }
    const std::shared_ptr<project::AssetLayer>& Layer(std::size_t composition,
                                                      std::size_t clip) const {
        return layers_[composition][clip];
    }

private:
    zrtl::ZRID AssetOf(const reference::Clip& clip) const;
    void AddMedia(const reference::Scene& scene);
    void AddTrack(const reference::Track& track);

    std::shared_ptr<project::Project> project_ = std::make_shared<project::Project>();
    std::vector<std::shared_ptr<project::MediaAsset>> media_;
    std::vector<std::shared_ptr<project::CompositionAsset>> compositions_;
    std::vector<std::vector<std::shared_ptr<project::AssetAudioObject>>> objects_;
    std::vector<std::vector<std::shared_ptr<project::AssetLayer>>> layers_;
};

}  // namespace sonrel_tests
