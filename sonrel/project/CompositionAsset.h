// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/base/Export.h"
#include "sonrel/base/ListChangeObserver.h"
#include "sonrel/project/AbstractAsset.h"
#include "sonrel/project/AbstractLayer.h"
#include "sonrel/project/AudioVideoSettings.h"

namespace orlo::project {

class AssetList;
class MediaManager;

/// A composition: settings and a stack of layers. It never contains itself, at any depth.
class SONREL_EXPORT CompositionAsset : public AbstractAsset {
public:
    /// No layers; the settings of a new AudioVideoSettings.
    CompositionAsset();
    /// The copy has the same identity and settings, shares the layers and is in no asset list.
    CompositionAsset(CompositionAsset const& source,
                     std::weak_ptr<MediaManager> const& manager = {}, int = 0);
    CompositionAsset& operator=(CompositionAsset const&) = delete;
    ~CompositionAsset() override;

    zrtl::ZRID const& ID() const override;
    int AssetType() const override { return 1; }
    /// True when one of the layers has audio.
    bool HasAudio() const override;
    /// Always true: a composition has a picture, if only an empty one.
    bool HasVideo() const override;

    AudioVideoSettings& Settings();
    /// The layers, in list order. Adding to the list is the same as AddLayer.
    ListChangeObserver<std::shared_ptr<AbstractLayer>, ResponseDelegate::RecordChanges>& Layers();

    /// Appends a layer and becomes its parent.
    /// @throws std::invalid_argument for an empty pointer, a layer of another composition, an
    ///         identity that is there already, or a layer through which the composition would
    ///         contain itself
    void AddLayer(std::shared_ptr<AbstractLayer> layer);
    /// @return whether there was such a layer
    bool RemoveLayer(zrtl::ZRID const& id);

private:
    friend class AssetList;

    void WatchLayers();
    void AdmitLayer(std::shared_ptr<AbstractLayer> const& layer);

    zrtl::ZRID id_;
    AudioVideoSettings settings_;
    ListChangeObserver<std::shared_ptr<AbstractLayer>, ResponseDelegate::RecordChanges> layers_;
    /// The asset lists that hold the composition: one, and those that were copied from it.
    std::vector<AssetList*> lists_;
};

}  // namespace orlo::project
