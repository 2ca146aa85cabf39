// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/project/AudioObject.h"

namespace orlo::project {

class CompositionAsset;
struct AssetAudioObjectImpl;

/// An audio object that shows an asset.
class SONREL_EXPORT AssetAudioObject : public AudioObject {
public:
    explicit AssetAudioObject(zrtl::ZRID const& asset);  ///< shows the asset of an identity
    /// @param composition  the asset that the copy shows instead of the asset of @p source, when
    ///                     not empty
    AssetAudioObject(AssetAudioObject const& source,
                     std::shared_ptr<CompositionAsset> const& composition = {}, bool = false,
                     int = 0);
    ~AssetAudioObject() override;

    int ObjectType() const override { return 0; }
    int SourceStartFrame() const override;
    std::shared_ptr<AbstractAsset> Asset(AssetList const& assets) const override;

    void SetAsset(zrtl::ZRID const& asset);  ///< shows another asset
    /// @throws std::invalid_argument when negative
    void SetSourceStartFrame(int frame);

private:
    std::unique_ptr<AssetAudioObjectImpl> impl_;
};

}  // namespace orlo::project
