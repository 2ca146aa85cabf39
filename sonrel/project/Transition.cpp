// SPDX-License-Identifier: MIT
#include "sonrel/project/Transition.h"

#include <stdexcept>
#include <utility>

#include "sonrel/plugins/AbstractPluginAudioTransition.h"
#include "sonrel/project/SequenceObjectList.h"

namespace orlo::project {

struct TransitionImpl {
    zrtl::ZRID id;
    std::shared_ptr<AbstractPlugin> plugin;
    zrtl::ZRID from;
    zrtl::ZRID to;
    int length = 0;
    int relativeStartFrame = 0;
};

Transition::Transition(std::shared_ptr<AbstractPlugin> plugin, zrtl::ZRID const& from,
                       zrtl::ZRID const& to, int length, int relativeStartFrame)
    : impl_(std::make_unique<TransitionImpl>()) {
    if (!dynamic_cast<AbstractPluginAudioTransition*>(plugin.get())) {
        throw std::invalid_argument("a transition needs an audio transition plugin");
    }
    if (length < 1) throw std::invalid_argument("a transition must be at least one frame long");
    *impl_ = {zrtl::ZRID::Create(), std::move(plugin), from, to, length, relativeStartFrame};
}

Transition::Transition(Transition& source, int)
    : AbstractPluginInstance(source), impl_(std::make_unique<TransitionImpl>(*source.impl_)) {}

Transition::~Transition() = default;

zrtl::ZRID const& Transition::ID() const {
    return impl_->id;
}
std::shared_ptr<AbstractPlugin> Transition::Plugin() {
    return impl_->plugin;
}
int Transition::Length() const {
    return impl_->length;
}
int Transition::RelativeStartFrame() const {
    return impl_->relativeStartFrame;
}
zrtl::ZRID const& Transition::FromObject() const {
    return impl_->from;
}
zrtl::ZRID const& Transition::ToObject() const {
    return impl_->to;
}

std::shared_ptr<Transition> JoinWithTransition(SequenceObjectList& objects, zrtl::ZRID const& from,
                                               zrtl::ZRID const& to,
                                               std::shared_ptr<AbstractPlugin> plugin, int length,
                                               int relativeStartFrame) {
    const std::shared_ptr<AbstractSequenceObject> ending = objects.GetByID(from);
    const std::shared_ptr<AbstractSequenceObject> beginning = objects.GetByID(to);
    if (!ending || !beginning || ending == beginning) {
        throw std::invalid_argument("a transition joins two objects of one track");
    }
    auto transition =
        std::make_shared<Transition>(std::move(plugin), from, to, length, relativeStartFrame);
    ending->SetOutgoingTransition(transition);
    beginning->SetIncomingTransition(transition);
    return transition;
}

}  // namespace orlo::project
