// SPDX-License-Identifier: MIT
#include "sonrel/project/AssetAudioObject.h"

#include <stdexcept>

#include "sonrel/project/AssetList.h"
#include "sonrel/project/CompositionAsset.h"

namespace orlo::project {

struct AssetAudioObjectImpl {
    zrtl::ZRID asset;
    int sourceStartFrame = 0;
};

AssetAudioObject::AssetAudioObject(zrtl::ZRID const& asset)
    : impl_(std::make_unique<AssetAudioObjectImpl>()) {
    impl_->asset = asset;
}

AssetAudioObject::AssetAudioObject(AssetAudioObject const& source,
                                   std::shared_ptr<CompositionAsset> const& composition, bool, int)
    : AudioObject(source), impl_(std::make_unique<AssetAudioObjectImpl>(*source.impl_)) {
    if (composition) impl_->asset = composition->ID();
}

AssetAudioObject::~AssetAudioObject() = default;

int AssetAudioObject::SourceStartFrame() const {
    return impl_->sourceStartFrame;
}

std::shared_ptr<AbstractAsset> AssetAudioObject::Asset(AssetList const& assets) const {
    return assets.FindByID(impl_->asset);
}

void AssetAudioObject::SetAsset(zrtl::ZRID const& asset) {
    impl_->asset = asset;
}

void AssetAudioObject::SetSourceStartFrame(int frame) {
    if (frame < 0) throw std::invalid_argument("a source start frame must not be negative");
    impl_->sourceStartFrame = frame;
}

}  // namespace orlo::project
