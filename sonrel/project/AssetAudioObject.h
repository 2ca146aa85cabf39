// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/project/AudioObject.h"

namespace orlo::project {

class CompositionAsset;

/// An audio object that shows an asset.
class SONREL_EXPORT AssetAudioObject : public AudioObject {
public:
    explicit AssetAudioObject(zrtl::ZRID const& asset);
    /// @param composition  shown by the copy in place of the asset of @p source, when not empty
    AssetAudioObject(AssetAudioObject const& source,
                     std::shared_ptr<CompositionAsset> const& composition = {}, bool = false,
                     int = 0);
    ~AssetAudioObject() override;

    int ObjectType() const override { return 0; }
    int SourceStartFrame() const override;
    std::shared_ptr<AbstractAsset> Asset(AssetList const& assets) const override;

    void SetAsset(zrtl::ZRID const& asset);
    /// @throws std::invalid_argument when negative
    void SetSourceStartFrame(int frame);

private:
    zrtl::ZRID asset_;
    int sourceStartFrame_ = 0;
};

}  // namespace orlo::project
