// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/Export.h"
#include "sonrel/contracts/project/AbstractAsset.h"
#include "sonrel/contracts/project/AbstractLayer.h"
#include "sonrel/contracts/project/AudioVideoSettings.h"
#include "sonrel/contracts/project/ListChangeObserver.h"

namespace orlo::project {

class AssetList;
class MediaManager;

/// A composition: settings and a stack of layers. It never contains itself, at any depth.
class SONREL_EXPORT CompositionAsset : public AbstractAsset {
public:
    CompositionAsset();
    CompositionAsset(CompositionAsset const& source,
                     std::weak_ptr<MediaManager> const& manager = {}, int = 0);
    CompositionAsset& operator=(CompositionAsset const&) = delete;
    ~CompositionAsset() override;

    zrtl::ZRID const& ID() const override;
    int AssetType() const override { return 1; }
    bool HasAudio() const override;
    bool HasVideo() const override;

    AudioVideoSettings& Settings();
    /// The layers, in list order.
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

    zrtl::ZRID id_;
    AudioVideoSettings settings_;
    ListChangeObserver<std::shared_ptr<AbstractLayer>, ResponseDelegate::RecordChanges> layers_;
    AssetList* assets_ = nullptr;
};

}  // namespace orlo::project
