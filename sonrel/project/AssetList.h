// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/base/ListChangeObserver.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/project/AbstractAsset.h"

namespace orlo::project {

class MediaManager;
struct AssetListImpl;

/// All assets of a project.
class SONREL_EXPORT AssetList {
public:
    AssetList();
    /// Shares the assets of @p source; the manager is not used.
    AssetList(AssetList const& source, std::weak_ptr<MediaManager> const& manager = {}, int = 0);
    AssetList& operator=(AssetList const&) = delete;
    ~AssetList();

    /// Every asset, in list order. Adding to the list is the same as Add.
    ListChangeObserver<std::shared_ptr<AbstractAsset>, ResponseDelegate::None>& All();

    /// Adds an asset.
    /// @throws std::invalid_argument for an empty pointer, an identity that the list contains
    /// already,
    ///         or a composition that would contain itself
    void Add(std::shared_ptr<AbstractAsset> asset);
    /// @return whether the list contained such an asset
    bool Remove(zrtl::ZRID const& id);
    /// The asset, or an empty pointer.
    std::shared_ptr<AbstractAsset> FindByID(zrtl::ZRID const& id) const;

private:
    std::unique_ptr<AssetListImpl> impl_;
};

}  // namespace orlo::project
