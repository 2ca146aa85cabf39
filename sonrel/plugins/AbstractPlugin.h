// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/base/Export.h"

class QIcon;

namespace orlo::project {

class AbstractPluginInstance;

/// The base of every plugin. A plugin is outside the engine. The engine calls PluginKind and, for
/// an audio plugin, the operations of the derived audio interfaces.
///
/// Threads: the thread that mixes, which during playback is the worker of the engine. An exception
/// of a plugin passes through the mix to its caller.
class SONREL_EXPORT AbstractPlugin {
public:
    /// The drawing of a plugin over the viewer.
    enum class OverlayMode : int { None = 0 };

    AbstractPlugin() = default;
    AbstractPlugin(const AbstractPlugin&) = default;
    AbstractPlugin& operator=(const AbstractPlugin&) = default;
    virtual ~AbstractPlugin() = default;

    /// 1 for an audio plugin. The mix skips a plugin of any other kind.
    virtual int PluginKind() const = 0;
    /// Shows a description of the plugin. @return whether the plugin has one
    virtual bool About() { return false; }
    /// The text on the button that opens the options.
    virtual std::string OptionsButtonName() { return {}; }
    /// Opens the options of one instance.
    virtual void Options(AbstractPluginInstance*) {}
    virtual OverlayMode ViewerOverlayMode(AbstractPluginInstance*) { return OverlayMode::None; }
    ///< The drawing over the viewer.
    virtual const QIcon* Icon() { return nullptr; }  ///< a picture for the plugin, or null
};

}  // namespace orlo::project
