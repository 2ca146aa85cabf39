// SPDX-License-Identifier: MIT
#include "sonrel/project/AssetList.h"

#include <stdexcept>
#include <utility>

#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/detail/Compositions.h"

namespace orlo::project {

AssetList::AssetList() {
    WatchAssets();
}

AssetList::AssetList(AssetList const& source, std::weak_ptr<MediaManager> const&, int)
    : all_(source.all_) {
    for (std::shared_ptr<AbstractAsset> const& asset : all_) Enter(asset);
    WatchAssets();
}

AssetList::~AssetList() {
    for (std::shared_ptr<AbstractAsset> const& asset : all_) Release(asset);
}

ListChangeObserver<std::shared_ptr<AbstractAsset>, ResponseDelegate::None>& AssetList::All() {
    return all_;
}

void AssetList::Add(std::shared_ptr<AbstractAsset> asset) {
    all_.Add(std::move(asset));
}

bool AssetList::Remove(zrtl::ZRID const& id) {
    const std::shared_ptr<AbstractAsset> asset = FindByID(id);
    return asset && all_.Remove(asset);
}

std::shared_ptr<AbstractAsset> AssetList::FindByID(zrtl::ZRID const& id) const {
    const auto found = byId_.find(id);
    return found == byId_.end() ? nullptr : found->second;
}

void AssetList::WatchAssets() {
    all_.SetAdmission([this](std::shared_ptr<AbstractAsset> const& asset) { Admit(asset); });
    all_.SetRelease([this](std::shared_ptr<AbstractAsset> const& asset) { Release(asset); });
}

void AssetList::Admit(std::shared_ptr<AbstractAsset> const& asset) {
    if (!asset) throw std::invalid_argument("an asset list takes no empty pointer");
    // The engine takes the class from the type number alone.
    const bool isMedia = dynamic_cast<MediaAsset*>(asset.get()) != nullptr;
    const bool isComposition = dynamic_cast<CompositionAsset*>(asset.get()) != nullptr;
    if (asset->AssetType() == 0 ? !isMedia : !isComposition) {
        throw std::invalid_argument("the asset's type number does not fit its class");
    }
    if (byId_.count(asset->ID()) != 0) {
        throw std::invalid_argument("the list holds an asset of this identity already");
    }
    if (CompositionAsset* const composition = AsComposition(asset.get())) {
        for (std::shared_ptr<AbstractLayer> const& layer : composition->Layers()) {
            if (LayerLeadsTo(*layer, composition->ID(), *this)) {
                throw std::invalid_argument("the composition would contain itself");
            }
        }
    }
    Enter(asset);
}

void AssetList::Enter(std::shared_ptr<AbstractAsset> const& asset) {
    byId_.emplace(asset->ID(), asset);
    if (CompositionAsset* const composition = AsComposition(asset.get())) {
        composition->lists_.push_back(this);
    }
}

void AssetList::Release(std::shared_ptr<AbstractAsset> const& asset) {
    if (CompositionAsset* const composition = AsComposition(asset.get())) {
        std::erase(composition->lists_, this);
    }
    byId_.erase(asset->ID());
}

}  // namespace orlo::project
