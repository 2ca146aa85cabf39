// SPDX-License-Identifier: MIT
#include "sonrel/project/AbstractLayer.h"

#include <stdexcept>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/EffectRules.h"
#include "sonrel/project/AssetList.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/detail/Compositions.h"

namespace orlo::project {

LayerBase::LayerBase() : id_(zrtl::ZRID::Create()) {
    animation_.SetStaticValue("audioLevel", 0.0f);
    animation_.SetStaticValue("speed", 1.0);
    effects_.SetAdmission(AdmitLayerEffect);
}

LayerBase::LayerBase(LayerBase const& source)
    : id_(source.id_),
      startFrame_(source.startFrame_),
      endFrame_(source.endFrame_),
      animation_(source.animation_),
      effects_(source.effects_),
      muted_(source.muted_),
      visible_(source.visible_) {
    effects_.SetAdmission(AdmitLayerEffect);
}

LayerBase::~LayerBase() = default;

AbstractLayer::AbstractLayer(AbstractLayer const& source, int)
    : LayerBase(source), AbstractAssetInstance(source) {}
AbstractLayer::~AbstractLayer() = default;

zrtl::ZRID const& AbstractLayer::ID() const {
    return id_;
}
int AbstractLayer::StartFrame() const {
    return startFrame_;
}
int AbstractLayer::EndFrame() const {
    return endFrame_;
}

int AbstractLayer::StartTime(AssetList const& assets) const {
    const std::shared_ptr<CompositionAsset> parent = ParentComposition(assets);
    return parent ? zrtl::SecondsToMs(startFrame_ / parent->Settings().FrameRate()) : 0;
}

std::shared_ptr<CompositionAsset> AbstractLayer::ParentComposition(AssetList const& assets) const {
    const std::shared_ptr<AbstractAsset> parent = assets.FindByID(parent_);
    return std::shared_ptr<CompositionAsset>(parent, AsComposition(parent.get()));
}

PropertyManager& AbstractLayer::Animation() {
    return animation_;
}
bool AbstractLayer::IsMuted() const {
    return muted_;
}
bool AbstractLayer::IsVisible() const {
    return visible_;
}

void AbstractLayer::SetRange(int startFrame, int endFrame) {
    if (startFrame < 0 || endFrame <= startFrame) {
        throw std::invalid_argument(
            "a layer must begin at frame 0 or later and end after its start");
    }
    startFrame_ = startFrame;
    endFrame_ = endFrame;
}

void AbstractLayer::SetMuted(bool muted) {
    muted_ = muted;
}
void AbstractLayer::SetVisible(bool visible) {
    visible_ = visible;
}

std::shared_ptr<EffectInstance> AbstractLayer::AddEffect(std::shared_ptr<AbstractPlugin> plugin) {
    auto effect = std::make_shared<EffectInstance>(std::move(plugin));
    Effects().Add(effect);
    return effect;
}

PictureLayer::~PictureLayer() = default;

ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
PictureLayer::Effects() {
    return effects_;
}

}  // namespace orlo::project
