// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/project/AbstractLayer.h"

namespace orlo::project {

struct LayerImpl {
    zrtl::ZRID id;
    int startFrame = 0;
    int endFrame = 0;
    PropertyManager animation;
    ListChangeObserver<std::shared_ptr<EffectInstance>, ResponseDelegate::RecordChanges> effects;
    bool muted = false;
    bool visible = true;
    zrtl::ZRID parent;  ///< null for a layer without a composition
    int holders = 0;    ///< compositions of that identity: the original and its copies
};

}  // namespace orlo::project
