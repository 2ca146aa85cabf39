// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/base/ListChangeObserver.h"
#include "sonrel/project/AbstractAsset.h"
#include "sonrel/project/AbstractLayer.h"
#include "sonrel/project/AudioVideoSettings.h"

namespace orlo::project {

class AssetList;
class MediaManager;
struct AssetListImpl;
struct CompositionAssetImpl;

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

    zrtl::ZRID const& ID() const override;  ///< the identity of the composition
    int AssetType() const override { return 1; }
    /// True when one of the layers has audio.
    bool HasAudio() const override;
    /// Always true: a composition has a picture, which may be empty.
    bool HasVideo() const override;

    AudioVideoSettings& Settings();  ///< rates and length
    /// The layers, in list order. Adding to the list is the same as AddLayer.
    ListChangeObserver<std::shared_ptr<AbstractLayer>, ResponseDelegate::RecordChanges>& Layers();

    /// Appends a layer and becomes its parent.
    /// @throws std::invalid_argument for an empty pointer, a layer of another composition, an
    ///         identity that the composition contains already, or a layer through which the
    ///         composition would contain itself
    void AddLayer(std::shared_ptr<AbstractLayer> layer);
    /// @return whether the composition contained such a layer
    bool RemoveLayer(zrtl::ZRID const& id);

private:
    friend struct AssetListImpl;

    std::unique_ptr<CompositionAssetImpl> impl_;
};

}  // namespace orlo::project
