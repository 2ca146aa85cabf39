// SPDX-License-Identifier: MIT
#include "sonrel/project/AbstractSequenceObject.h"

#include <limits>
#include <stdexcept>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/EffectRules.h"
#include "sonrel/project/EditorSequence.h"
#include "sonrel/project/detail/SequenceObjectImpl.h"
#include "sonrel/project/detail/SequenceObjectListImpl.h"

namespace orlo::project {

SequenceObjectBase::SequenceObjectBase() : impl_(std::make_unique<SequenceObjectImpl>()) {
    impl_->id = zrtl::ZRID::Create();
    impl_->animation.SetStaticValue("audioLevel", 0.0f);
    impl_->animation.SetStaticValue("speed", 1.0);
    impl_->effects.SetAdmission(AdmitObjectEffect);
}

SequenceObjectBase::SequenceObjectBase(SequenceObjectBase const& source)
    : impl_(std::make_unique<SequenceObjectImpl>(*source.impl_)) {
    impl_->lists.clear();
    impl_->effects.SetAdmission(AdmitObjectEffect);
}

SequenceObjectBase::~SequenceObjectBase() = default;

AbstractSequenceObject::AbstractSequenceObject(AbstractSequenceObject const& source, bool, int)
    : SequenceObjectBase(source), AbstractAssetInstance(source) {}
AbstractSequenceObject::~AbstractSequenceObject() = default;

zrtl::ZRID const& AbstractSequenceObject::ID() const {
    return impl_->id;
}
int AbstractSequenceObject::StartFrame() const {
    return impl_->startFrame;
}
int AbstractSequenceObject::EndFrame() const {
    return impl_->endFrame;
}

int AbstractSequenceObject::StartTime(std::shared_ptr<EditorSequence> const& sequence) const {
    return zrtl::SecondsToMs(impl_->startFrame / sequence->Settings().FrameRate());
}

PropertyManager& AbstractSequenceObject::Animation() {
    return impl_->animation;
}

ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
AbstractSequenceObject::Effects() {
    return impl_->effects;
}

std::shared_ptr<Transition> const& AbstractSequenceObject::IncomingTransition() const {
    return impl_->incoming;
}

std::shared_ptr<Transition> const& AbstractSequenceObject::OutgoingTransition() const {
    return impl_->outgoing;
}

void AbstractSequenceObject::SetRange(int startFrame, int endFrame) {
    if (startFrame < 0 || endFrame <= startFrame) {
        throw std::invalid_argument(
            "an object must begin at frame 0 or later and end after its start");
    }
    for (SequenceObjectListImpl const* list : impl_->lists) {
        list->RefuseOverlap(this, startFrame, endFrame);
    }
    impl_->startFrame = startFrame;
    impl_->endFrame = endFrame;
    for (SequenceObjectListImpl* list : impl_->lists) list->SortByStart();
}

void AbstractSequenceObject::MoveTo(int startFrame) {
    const int length = impl_->endFrame - impl_->startFrame;
    if (startFrame > std::numeric_limits<int>::max() - length) {
        throw std::invalid_argument("an object must end at a frame that can be counted");
    }
    SetRange(startFrame, startFrame + length);
}

std::shared_ptr<EffectInstance> AbstractSequenceObject::AddEffect(
    std::shared_ptr<AbstractPlugin> plugin) {
    auto effect = std::make_shared<EffectInstance>(std::move(plugin));
    impl_->effects.Add(effect);
    return effect;
}

void AbstractSequenceObject::SetIncomingTransition(std::shared_ptr<Transition> transition) {
    impl_->incoming = std::move(transition);
}

void AbstractSequenceObject::SetOutgoingTransition(std::shared_ptr<Transition> transition) {
    impl_->outgoing = std::move(transition);
}

}  // namespace orlo::project
