// SPDX-License-Identifier: MIT
#include "sonrel/project/AbstractSequenceObject.h"

#include <limits>
#include <stdexcept>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/EffectRules.h"
#include "sonrel/project/EditorSequence.h"
#include "sonrel/project/SequenceObjectList.h"

namespace orlo::project {

SequenceObjectBase::SequenceObjectBase() : id_(zrtl::ZRID::Create()) {
    animation_.SetStaticValue("audioLevel", 0.0f);
    animation_.SetStaticValue("speed", 1.0);
    effects_.SetAdmission(AdmitObjectEffect);
}

SequenceObjectBase::SequenceObjectBase(SequenceObjectBase const& source)
    : id_(source.id_),
      startFrame_(source.startFrame_),
      endFrame_(source.endFrame_),
      animation_(source.animation_),
      effects_(source.effects_),
      incoming_(source.incoming_),
      outgoing_(source.outgoing_) {
    effects_.SetAdmission(AdmitObjectEffect);
}

SequenceObjectBase::~SequenceObjectBase() = default;

AbstractSequenceObject::AbstractSequenceObject(AbstractSequenceObject const& source, bool, int)
    : SequenceObjectBase(source), AbstractAssetInstance(source) {}
AbstractSequenceObject::~AbstractSequenceObject() = default;

zrtl::ZRID const& AbstractSequenceObject::ID() const {
    return id_;
}
int AbstractSequenceObject::StartFrame() const {
    return startFrame_;
}
int AbstractSequenceObject::EndFrame() const {
    return endFrame_;
}

int AbstractSequenceObject::StartTime(std::shared_ptr<EditorSequence> const& sequence) const {
    return zrtl::SecondsToMs(startFrame_ / sequence->Settings().FrameRate());
}

PropertyManager& AbstractSequenceObject::Animation() {
    return animation_;
}

ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges>&
AbstractSequenceObject::Effects() {
    return effects_;
}

std::shared_ptr<Transition> const& AbstractSequenceObject::IncomingTransition() const {
    return incoming_;
}

std::shared_ptr<Transition> const& AbstractSequenceObject::OutgoingTransition() const {
    return outgoing_;
}

void AbstractSequenceObject::SetRange(int startFrame, int endFrame) {
    if (startFrame < 0 || endFrame <= startFrame) {
        throw std::invalid_argument(
            "an object must begin at frame 0 or later and end after its start");
    }
    for (SequenceObjectList const* list : lists_) {
        list->RefuseOverlap(this, startFrame, endFrame);
    }
    startFrame_ = startFrame;
    endFrame_ = endFrame;
    for (SequenceObjectList* list : lists_) list->SortByStart();
}

void AbstractSequenceObject::MoveTo(int startFrame) {
    const int length = endFrame_ - startFrame_;
    if (startFrame > std::numeric_limits<int>::max() - length) {
        throw std::invalid_argument("an object must end at a frame that can be counted");
    }
    SetRange(startFrame, startFrame + length);
}

std::shared_ptr<EffectInstance> AbstractSequenceObject::AddEffect(
    std::shared_ptr<AbstractPlugin> plugin) {
    auto effect = std::make_shared<EffectInstance>(std::move(plugin));
    effects_.Add(effect);
    return effect;
}

void AbstractSequenceObject::SetIncomingTransition(std::shared_ptr<Transition> transition) {
    incoming_ = std::move(transition);
}

void AbstractSequenceObject::SetOutgoingTransition(std::shared_ptr<Transition> transition) {
    outgoing_ = std::move(transition);
}

}  // namespace orlo::project
