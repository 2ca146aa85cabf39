// SPDX-License-Identifier: MIT
#include "sonrel/project/Transition.h"

#include <stdexcept>
#include <utility>

#include "sonrel/plugins/AbstractPluginAudioTransition.h"
#include "sonrel/project/SequenceObjectList.h"

namespace orlo::project {

Transition::Transition(std::shared_ptr<AbstractPlugin> plugin, zrtl::ZRID const& from,
                       zrtl::ZRID const& to, int length, int relativeStartFrame)
    : id_(zrtl::ZRID::Create()),
      plugin_(std::move(plugin)),
      from_(from),
      to_(to),
      length_(length),
      relativeStartFrame_(relativeStartFrame) {
    if (!dynamic_cast<AbstractPluginAudioTransition*>(plugin_.get())) {
        throw std::invalid_argument("a transition needs an audio transition plugin");
    }
    if (length < 1) throw std::invalid_argument("a transition must be at least one frame long");
}

Transition::Transition(Transition& source, int)
    : AbstractPluginInstance(source),
      id_(source.id_),
      plugin_(source.plugin_),
      from_(source.from_),
      to_(source.to_),
      length_(source.length_),
      relativeStartFrame_(source.relativeStartFrame_) {}

Transition::~Transition() = default;

zrtl::ZRID const& Transition::ID() const {
    return id_;
}
std::shared_ptr<AbstractPlugin> Transition::Plugin() {
    return plugin_;
}
int Transition::Length() const {
    return length_;
}
int Transition::RelativeStartFrame() const {
    return relativeStartFrame_;
}
zrtl::ZRID const& Transition::FromObject() const {
    return from_;
}
zrtl::ZRID const& Transition::ToObject() const {
    return to_;
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
