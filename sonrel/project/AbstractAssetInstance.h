// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"

namespace orlo::project {

class AbstractAsset;
class AssetList;

/// Mix-in of every class that shows an asset. It is a later base of sequence objects and layers:
/// cast through the derived type.
class SONREL_EXPORT AbstractAssetInstance {
public:
    virtual ~AbstractAssetInstance() = default;

    /// The frame of the asset at which the content of the instance begins.
    virtual int SourceStartFrame() const = 0;
    /// The asset, or an empty pointer when the list does not contain it.
    virtual std::shared_ptr<AbstractAsset> Asset(AssetList const& assets) const = 0;
};

}  // namespace orlo::project
