// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRID.h"

namespace orlo::project {

class AbstractPlugin;

/// A plugin in a project: an effect on an object or layer, or a transition.
class SONREL_EXPORT AbstractPluginInstance {
public:
    AbstractPluginInstance() = default;
    AbstractPluginInstance(const AbstractPluginInstance&) = default;
    AbstractPluginInstance& operator=(const AbstractPluginInstance&) = default;
    virtual ~AbstractPluginInstance() = default;

    /// The identity of this instance.
    virtual const zrtl::ZRID& ID() const = 0;
    /// The plugin of this instance; never empty in a valid project.
    virtual std::shared_ptr<AbstractPlugin> Plugin() = 0;
};

}  // namespace orlo::project
