// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/project/AbstractLayer.h"

namespace orlo::project {

struct AssetLayerImpl;

/// A layer that shows an asset.
class SONREL_EXPORT AssetLayer : public AbstractLayer {
public:
    explicit AssetLayer(zrtl::ZRID const& asset);   ///< shows the asset of an identity
    AssetLayer(AssetLayer const& source, int = 0);  ///< as the copy of LayerBase
    ~AssetLayer() override;

    int LayerType() const override { return 0; }
    bool HasAudio() const override;
    ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>& Effects()
        override;
    int SourceStartFrame() const override;
    std::shared_ptr<AbstractAsset> Asset(AssetList const& assets) const override;

    /// The identity of the asset that the layer shows.
    zrtl::ZRID const& AssetID() const;
    /// @throws std::invalid_argument when negative
    void SetSourceStartFrame(int frame);
    void SetHasAudio(bool hasAudio);  ///< false makes it silent

private:
    std::unique_ptr<AssetLayerImpl> impl_;
};

}  // namespace orlo::project
