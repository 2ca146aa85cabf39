// SPDX-License-Identifier: MIT
#include "sonrel/project/AssetLayer.h"

#include <stdexcept>

#include "sonrel/project/AssetList.h"

namespace orlo::project {

struct AssetLayerImpl {
    zrtl::ZRID asset;
    int sourceStartFrame = 0;
    bool hasAudio = true;
};

AssetLayer::AssetLayer(zrtl::ZRID const& asset) : impl_(std::make_unique<AssetLayerImpl>()) {
    impl_->asset = asset;
}

AssetLayer::AssetLayer(AssetLayer const& source, int)
    : AbstractLayer(source), impl_(std::make_unique<AssetLayerImpl>(*source.impl_)) {}

AssetLayer::~AssetLayer() = default;

bool AssetLayer::HasAudio() const {
    return impl_->hasAudio;
}

ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
AssetLayer::Effects() {
    return AbstractLayer::Effects();
}

int AssetLayer::SourceStartFrame() const {
    return impl_->sourceStartFrame;
}

std::shared_ptr<AbstractAsset> AssetLayer::Asset(AssetList const& assets) const {
    return assets.FindByID(impl_->asset);
}

zrtl::ZRID const& AssetLayer::AssetID() const {
    return impl_->asset;
}

void AssetLayer::SetSourceStartFrame(int frame) {
    if (frame < 0) throw std::invalid_argument("a source start frame must not be negative");
    impl_->sourceStartFrame = frame;
}

void AssetLayer::SetHasAudio(bool hasAudio) {
    impl_->hasAudio = hasAudio;
}

}  // namespace orlo::project
