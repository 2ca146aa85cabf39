// SPDX-License-Identifier: MIT
#include "sonrel/project/AbstractLayer.h"

#include <stdexcept>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/EffectRules.h"
#include "sonrel/project/AssetList.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/detail/Compositions.h"
#include "sonrel/project/detail/LayerImpl.h"

namespace orlo::project {

LayerBase::LayerBase() : impl_(std::make_unique<LayerImpl>()) {
    impl_->id = zrtl::ZRID::Create();
    impl_->animation.SetStaticValue("audioLevel", 0.0f);
    impl_->animation.SetStaticValue("speed", 1.0);
    impl_->effects.SetAdmission(AdmitLayerEffect);
}

LayerBase::LayerBase(LayerBase const& source) : impl_(std::make_unique<LayerImpl>(*source.impl_)) {
    impl_->parent = zrtl::ZRID();
    impl_->holders = 0;
    impl_->effects.SetAdmission(AdmitLayerEffect);
}

LayerBase::~LayerBase() = default;

AbstractLayer::AbstractLayer(AbstractLayer const& source, int)
    : LayerBase(source), AbstractAssetInstance(source) {}
AbstractLayer::~AbstractLayer() = default;

zrtl::ZRID const& AbstractLayer::ID() const {
    return impl_->id;
}
int AbstractLayer::StartFrame() const {
    return impl_->startFrame;
}
int AbstractLayer::EndFrame() const {
    return impl_->endFrame;
}

int AbstractLayer::StartTime(AssetList const& assets) const {
    const std::shared_ptr<CompositionAsset> parent = ParentComposition(assets);
    return parent ? zrtl::SecondsToMs(impl_->startFrame / parent->Settings().FrameRate()) : 0;
}

std::shared_ptr<CompositionAsset> AbstractLayer::ParentComposition(AssetList const& assets) const {
    const std::shared_ptr<AbstractAsset> parent = assets.FindByID(impl_->parent);
    return std::shared_ptr<CompositionAsset>(parent, AsComposition(parent.get()));
}

PropertyManager& AbstractLayer::Animation() {
    return impl_->animation;
}
bool AbstractLayer::IsMuted() const {
    return impl_->muted;
}
bool AbstractLayer::IsVisible() const {
    return impl_->visible;
}

ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
AbstractLayer::Effects() {
    return impl_->effects;
}

void AbstractLayer::SetRange(int startFrame, int endFrame) {
    if (startFrame < 0 || endFrame <= startFrame) {
        throw std::invalid_argument(
            "a layer must begin at frame 0 or later and end after its start");
    }
    impl_->startFrame = startFrame;
    impl_->endFrame = endFrame;
}

void AbstractLayer::SetMuted(bool muted) {
    impl_->muted = muted;
}
void AbstractLayer::SetVisible(bool visible) {
    impl_->visible = visible;
}

std::shared_ptr<EffectInstance> AbstractLayer::AddEffect(std::shared_ptr<AbstractPlugin> plugin) {
    auto effect = std::make_shared<EffectInstance>(std::move(plugin));
    Effects().Add(effect);
    return effect;
}

PictureLayer::~PictureLayer() = default;

ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
PictureLayer::Effects() {
    return AbstractLayer::Effects();
}

}  // namespace orlo::project
