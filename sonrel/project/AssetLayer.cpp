// SPDX-License-Identifier: MIT
#include "sonrel/project/AssetLayer.h"

#include <stdexcept>

#include "sonrel/project/AssetList.h"

namespace orlo::project {

AssetLayer::AssetLayer(zrtl::ZRID const& asset) : asset_(asset) {}

AssetLayer::AssetLayer(AssetLayer const& source, int)
    : AbstractLayer(source),
      asset_(source.asset_),
      sourceStartFrame_(source.sourceStartFrame_),
      hasAudio_(source.hasAudio_) {}

AssetLayer::~AssetLayer() = default;

bool AssetLayer::HasAudio() const {
    return hasAudio_;
}

ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
AssetLayer::Effects() {
    return effects_;
}

int AssetLayer::SourceStartFrame() const {
    return sourceStartFrame_;
}

std::shared_ptr<AbstractAsset> AssetLayer::Asset(AssetList const& assets) const {
    return assets.FindByID(asset_);
}

zrtl::ZRID const& AssetLayer::AssetID() const {
    return asset_;
}

void AssetLayer::SetSourceStartFrame(int frame) {
    if (frame < 0) throw std::invalid_argument("a source start frame must not be negative");
    sourceStartFrame_ = frame;
}

void AssetLayer::SetHasAudio(bool hasAudio) {
    hasAudio_ = hasAudio;
}

}  // namespace orlo::project
