// SPDX-License-Identifier: MIT
#include "sonrel/project/AssetAudioObject.h"

#include <stdexcept>

#include "sonrel/project/AssetList.h"
#include "sonrel/project/CompositionAsset.h"

namespace orlo::project {

AssetAudioObject::AssetAudioObject(zrtl::ZRID const& asset) : asset_(asset) {}

AssetAudioObject::AssetAudioObject(AssetAudioObject const& source,
                                   std::shared_ptr<CompositionAsset> const& composition, bool, int)
    : AudioObject(source),
      asset_(composition ? composition->ID() : source.asset_),
      sourceStartFrame_(source.sourceStartFrame_) {}

AssetAudioObject::~AssetAudioObject() = default;

int AssetAudioObject::SourceStartFrame() const {
    return sourceStartFrame_;
}

std::shared_ptr<AbstractAsset> AssetAudioObject::Asset(AssetList const& assets) const {
    return assets.FindByID(asset_);
}

void AssetAudioObject::SetAsset(zrtl::ZRID const& asset) {
    asset_ = asset;
}

void AssetAudioObject::SetSourceStartFrame(int frame) {
    if (frame < 0) throw std::invalid_argument("a source start frame must not be negative");
    sourceStartFrame_ = frame;
}

}  // namespace orlo::project
