// SPDX-License-Identifier: MIT
#include "sonrel/project/CompositionAsset.h"

#include <stdexcept>
#include <utility>

#include "sonrel/project/AssetLayer.h"
#include "sonrel/project/detail/Compositions.h"

namespace orlo::project {

CompositionAsset::CompositionAsset() : id_(zrtl::ZRID::Create()) {
    WatchLayers();
}

CompositionAsset::CompositionAsset(CompositionAsset const& source,
                                   std::weak_ptr<MediaManager> const&, int)
    : AbstractAsset(source), id_(source.id_), settings_(source.settings_), layers_(source.layers_) {
    for (std::shared_ptr<AbstractLayer> const& layer : layers_) ++layer->holders_;
    WatchLayers();
}

CompositionAsset::~CompositionAsset() {
    layers_.Clear();
}

zrtl::ZRID const& CompositionAsset::ID() const {
    return id_;
}

bool CompositionAsset::HasAudio() const {
    for (std::shared_ptr<AbstractLayer> const& layer : layers_) {
        if (layer->HasAudio()) return true;
    }
    return false;
}

bool CompositionAsset::HasVideo() const {
    return true;
}

AudioVideoSettings& CompositionAsset::Settings() {
    return settings_;
}

ListChangeObserver<std::shared_ptr<AbstractLayer>, ResponseDelegate::RecordChanges>&
CompositionAsset::Layers() {
    return layers_;
}

void CompositionAsset::AddLayer(std::shared_ptr<AbstractLayer> layer) {
    layers_.Add(std::move(layer));
}

bool CompositionAsset::RemoveLayer(zrtl::ZRID const& id) {
    for (std::shared_ptr<AbstractLayer> const& layer : layers_) {
        if (layer->ID() == id) return layers_.Remove(std::shared_ptr<AbstractLayer>(layer));
    }
    return false;
}

void CompositionAsset::WatchLayers() {
    layers_.SetAdmission(
        [this](std::shared_ptr<AbstractLayer> const& layer) { AdmitLayer(layer); });
    layers_.SetRelease([](std::shared_ptr<AbstractLayer> const& layer) {
        if (--layer->holders_ == 0) layer->parent_ = zrtl::ZRID();
    });
}

void CompositionAsset::AdmitLayer(std::shared_ptr<AbstractLayer> const& layer) {
    if (!layer) throw std::invalid_argument("a composition takes no empty layer");
    if (!layer->parent_.IsNull() && layer->parent_ != id_) {
        throw std::invalid_argument("the layer belongs to another composition");
    }
    for (std::shared_ptr<AbstractLayer> const& present : layers_) {
        if (present->ID() == layer->ID()) {
            throw std::invalid_argument("the composition holds a layer of this identity already");
        }
    }
    const auto* assetLayer = dynamic_cast<AssetLayer const*>(layer.get());
    bool containsItself = assetLayer && assetLayer->AssetID() == id_;
    for (AssetList const* assets : lists_) {
        containsItself = containsItself || LayerLeadsTo(*layer, id_, *assets);
    }
    if (containsItself) throw std::invalid_argument("the composition would contain itself");
    layer->parent_ = id_;
    ++layer->holders_;
}

}  // namespace orlo::project
