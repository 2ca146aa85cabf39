// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/base/Export.h"

class QIcon;

namespace orlo::project {

class AbstractPluginInstance;

/// What every plugin of a host is. A plugin lives outside the engine; the engine calls PluginKind
/// and, where the kind says so, the operations of the derived audio interfaces.
///
/// Threads: the thread that mixes, which during playback is the engine's own worker. An exception
/// that a plugin throws passes up through the mix.
class SONREL_EXPORT AbstractPlugin {
public:
    /// How a plugin draws over the viewer.
    enum class OverlayMode : int { None = 0 };

    AbstractPlugin() = default;
    AbstractPlugin(const AbstractPlugin&) = default;
    AbstractPlugin& operator=(const AbstractPlugin&) = default;
    virtual ~AbstractPlugin() = default;

    /// 1 for an audio plugin; any other value is passed over by the mix.
    virtual int PluginKind() const = 0;
    /// True when the plugin shows something about itself.
    virtual bool About() { return false; }
    /// The text on the button that opens the options.
    virtual std::string OptionsButtonName() { return {}; }
    /// Opens the options of one use.
    virtual void Options(AbstractPluginInstance*) {}
    virtual OverlayMode ViewerOverlayMode(AbstractPluginInstance*) { return OverlayMode::None; }
    /// A picture for the plugin, or null.
    virtual const QIcon* Icon() { return nullptr; }
};

}  // namespace orlo::project
