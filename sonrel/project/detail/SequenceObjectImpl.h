// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "sonrel/project/AbstractSequenceObject.h"

namespace orlo::project {

struct SequenceObjectImpl {
    zrtl::ZRID id;
    int startFrame = 0;
    int endFrame = 0;
    PropertyManager animation;
    ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges> effects;
    std::shared_ptr<Transition> incoming;
    std::shared_ptr<Transition> outgoing;
    /// The lists that contain the object: one list and its copies.
    std::vector<SequenceObjectListImpl*> lists;
};

}  // namespace orlo::project
