// SPDX-License-Identifier: MIT
#include "sonrel/project/CompositionAsset.h"

#include <stdexcept>
#include <utility>

#include "sonrel/project/AssetLayer.h"
#include "sonrel/project/detail/CompositionAssetImpl.h"
#include "sonrel/project/detail/Compositions.h"
#include "sonrel/project/detail/LayerImpl.h"

namespace orlo::project {

CompositionAssetImpl::CompositionAssetImpl() : id(zrtl::ZRID::Create()) {
    ObserveLayers();
}

CompositionAssetImpl::CompositionAssetImpl(CompositionAssetImpl const& source)
    : id(source.id), settings(source.settings), layers(source.layers) {
    for (std::shared_ptr<AbstractLayer> const& layer : layers) ++layer->impl_->holders;
    ObserveLayers();
}

CompositionAssetImpl::~CompositionAssetImpl() {
    layers.Clear();
}

void CompositionAssetImpl::ObserveLayers() {
    layers.SetAdmission([this](std::shared_ptr<AbstractLayer> const& layer) {
        if (!layer) throw std::invalid_argument("a composition takes no empty layer");
        Admit(*layer);
    });
    layers.SetRelease([](std::shared_ptr<AbstractLayer> const& layer) {
        if (--layer->impl_->holders == 0) layer->impl_->parent = zrtl::ZRID();
    });
}

void CompositionAssetImpl::Admit(AbstractLayer& layer) {
    zrtl::ZRID& parent = layer.impl_->parent;
    if (!parent.IsNull() && parent != id) {
        throw std::invalid_argument("the layer belongs to another composition");
    }
    for (std::shared_ptr<AbstractLayer> const& present : layers) {
        if (present->ID() == layer.ID()) {
            throw std::invalid_argument("the composition holds a layer of this identity already");
        }
    }
    if (WouldContainItself(layer)) {
        throw std::invalid_argument("the composition would contain itself");
    }
    parent = id;
    ++layer.impl_->holders;
}

bool CompositionAssetImpl::WouldContainItself(AbstractLayer const& layer) const {
    const auto* assetLayer = dynamic_cast<AssetLayer const*>(&layer);
    if (assetLayer && assetLayer->AssetID() == id) return true;
    for (AssetList const* assets : lists) {
        if (LayerLeadsTo(layer, id, *assets)) return true;
    }
    return false;
}

CompositionAsset::CompositionAsset() : impl_(std::make_unique<CompositionAssetImpl>()) {}

CompositionAsset::CompositionAsset(CompositionAsset const& source,
                                   std::weak_ptr<MediaManager> const&, int)
    : AbstractAsset(source), impl_(std::make_unique<CompositionAssetImpl>(*source.impl_)) {}

CompositionAsset::~CompositionAsset() = default;

zrtl::ZRID const& CompositionAsset::ID() const {
    return impl_->id;
}

bool CompositionAsset::HasAudio() const {
    for (std::shared_ptr<AbstractLayer> const& layer : impl_->layers) {
        if (layer->HasAudio()) return true;
    }
    return false;
}

bool CompositionAsset::HasVideo() const {
    return true;
}

AudioVideoSettings& CompositionAsset::Settings() {
    return impl_->settings;
}

ListChangeObserver<std::shared_ptr<AbstractLayer>, ResponseDelegate::RecordChanges>&
CompositionAsset::Layers() {
    return impl_->layers;
}

void CompositionAsset::AddLayer(std::shared_ptr<AbstractLayer> layer) {
    impl_->layers.Add(std::move(layer));
}

bool CompositionAsset::RemoveLayer(zrtl::ZRID const& id) {
    for (std::shared_ptr<AbstractLayer> const& layer : impl_->layers) {
        if (layer->ID() == id) return impl_->layers.Remove(std::shared_ptr<AbstractLayer>(layer));
    }
    return false;
}

}  // namespace orlo::project
