// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/project/AssetList.h"
#include "sonrel/project/CompositionAsset.h"

namespace orlo::project {

struct CompositionAssetImpl {
    zrtl::ZRID id;
    AudioVideoSettings settings;
    ListChangeObserver<std::shared_ptr<AbstractLayer>, ResponseDelegate::RecordChanges> layers;
    /// The asset lists that contain the composition: one list and its copies.
    std::vector<AssetList*> lists;

    CompositionAssetImpl();
    /// Shares the layers and is in no asset list.
    CompositionAssetImpl(CompositionAssetImpl const& source);
    CompositionAssetImpl& operator=(CompositionAssetImpl const&) = delete;
    ~CompositionAssetImpl();

    void ObserveLayers();
    /// Becomes the parent of a layer that enters the list.
    /// @throws std::invalid_argument as CompositionAsset::AddLayer
    void Admit(AbstractLayer& layer);
    bool WouldContainItself(AbstractLayer const& layer) const;
};

}  // namespace orlo::project
