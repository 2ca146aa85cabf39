// SPDX-License-Identifier: MIT
#include "sonrel/project/AssetList.h"

#include <stdexcept>
#include <unordered_map>
#include <utility>

#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/detail/CompositionAssetImpl.h"
#include "sonrel/project/detail/Compositions.h"

namespace orlo::project {

struct AssetListImpl {
    explicit AssetListImpl(AssetList& owner) : list(owner) { Observe(); }

    AssetListImpl(AssetList& owner, AssetListImpl const& source) : list(owner), all(source.all) {
        for (std::shared_ptr<AbstractAsset> const& asset : all) Enter(asset);
        Observe();
    }

    ~AssetListImpl() {
        for (std::shared_ptr<AbstractAsset> const& asset : all) Release(asset);
    }

    void Observe() {
        all.SetAdmission([this](std::shared_ptr<AbstractAsset> const& asset) { Admit(asset); });
        all.SetRelease([this](std::shared_ptr<AbstractAsset> const& asset) { Release(asset); });
    }

    void Admit(std::shared_ptr<AbstractAsset> const& asset);
    void Enter(std::shared_ptr<AbstractAsset> const& asset);
    void Release(std::shared_ptr<AbstractAsset> const& asset);

    AssetList& list;
    ListChangeObserver<std::shared_ptr<AbstractAsset>, ResponseDelegate::None> all;
    std::unordered_map<zrtl::ZRID, std::shared_ptr<AbstractAsset>> byId;
};

namespace {

/// The engine takes the class from the type number alone.
bool TypeFitsClass(AbstractAsset& asset) {
    return asset.AssetType() == 0 ? dynamic_cast<MediaAsset*>(&asset) != nullptr
                                  : dynamic_cast<CompositionAsset*>(&asset) != nullptr;
}

bool ContainsItself(CompositionAsset& composition, AssetList const& assets) {
    for (std::shared_ptr<AbstractLayer> const& layer : composition.Layers()) {
        if (LayerLeadsTo(*layer, composition.ID(), assets)) return true;
    }
    return false;
}

}  // namespace

void AssetListImpl::Admit(std::shared_ptr<AbstractAsset> const& asset) {
    if (!asset) throw std::invalid_argument("an asset list takes no empty pointer");
    if (!TypeFitsClass(*asset)) {
        throw std::invalid_argument("the asset's type number does not fit its class");
    }
    if (byId.count(asset->ID()) != 0) {
        throw std::invalid_argument("the list holds an asset of this identity already");
    }
    CompositionAsset* const composition = AsComposition(asset.get());
    if (composition && ContainsItself(*composition, list)) {
        throw std::invalid_argument("the composition would contain itself");
    }
    Enter(asset);
}

void AssetListImpl::Enter(std::shared_ptr<AbstractAsset> const& asset) {
    byId.emplace(asset->ID(), asset);
    if (CompositionAsset* const composition = AsComposition(asset.get())) {
        composition->impl_->lists.push_back(&list);
    }
}

void AssetListImpl::Release(std::shared_ptr<AbstractAsset> const& asset) {
    if (CompositionAsset* const composition = AsComposition(asset.get())) {
        std::erase(composition->impl_->lists, &list);
    }
    byId.erase(asset->ID());
}

AssetList::AssetList() : impl_(std::make_unique<AssetListImpl>(*this)) {}

AssetList::AssetList(AssetList const& source, std::weak_ptr<MediaManager> const&, int)
    : impl_(std::make_unique<AssetListImpl>(*this, *source.impl_)) {}

AssetList::~AssetList() = default;

ListChangeObserver<std::shared_ptr<AbstractAsset>, ResponseDelegate::None>& AssetList::All() {
    return impl_->all;
}

void AssetList::Add(std::shared_ptr<AbstractAsset> asset) {
    impl_->all.Add(std::move(asset));
}

bool AssetList::Remove(zrtl::ZRID const& id) {
    const std::shared_ptr<AbstractAsset> asset = FindByID(id);
    return asset && impl_->all.Remove(asset);
}

std::shared_ptr<AbstractAsset> AssetList::FindByID(zrtl::ZRID const& id) const {
    const auto found = impl_->byId.find(id);
    return found == impl_->byId.end() ? nullptr : found->second;
}

}  // namespace orlo::project
