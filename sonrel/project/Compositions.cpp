// SPDX-License-Identifier: MIT
#include "sonrel/project/detail/Compositions.h"

#include <unordered_set>
#include <vector>

#include "sonrel/project/AssetLayer.h"

namespace orlo::project {

CompositionAsset* AsComposition(AbstractAsset* asset) {
    return asset && asset->AssetType() != 0 ? static_cast<CompositionAsset*>(asset) : nullptr;
}

bool LayerLeadsTo(AbstractLayer const& layer, zrtl::ZRID const& target, AssetList const& assets) {
    std::vector<AbstractLayer const*> waiting{&layer};
    std::unordered_set<zrtl::ZRID> seen;
    while (!waiting.empty()) {
        AbstractLayer const& current = *waiting.back();
        waiting.pop_back();
        // Compares identities: the list does not contain the target while it is added.
        const auto* assetLayer = dynamic_cast<AssetLayer const*>(&current);
        if (assetLayer && assetLayer->AssetID() == target) return true;

        // The analyser assumes null layers in a composition, which AddLayer refuses.
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage)
        const std::shared_ptr<AbstractAsset> asset = current.Asset(assets);
        CompositionAsset* const composition = AsComposition(asset.get());
        if (!composition) continue;
        if (composition->ID() == target) return true;
        if (!seen.insert(composition->ID()).second) continue;
        for (std::shared_ptr<AbstractLayer> const& inner : composition->Layers()) {
            waiting.push_back(inner.get());
        }
    }
    return false;
}

}  // namespace orlo::project
