// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/AbstractPluginInstance.h"

namespace orlo::project {

struct EffectInstanceImpl;

/// One effect on an object or layer.
class SONREL_EXPORT EffectInstance : public AbstractPluginInstance {
public:
    /// @param plugin  never empty; a plugin of kind 1 is an AbstractPluginAudio
    /// @throws std::invalid_argument otherwise
    explicit EffectInstance(std::shared_ptr<AbstractPlugin> plugin);
    /// Shares the plugin and has the same identity.
    EffectInstance(EffectInstance& source, int = 0);
    EffectInstance& operator=(EffectInstance const&) = delete;
    ~EffectInstance() override;

    zrtl::ZRID const& ID() const override;
    std::shared_ptr<AbstractPlugin> Plugin() override;

    /// A disabled effect is skipped. SetEnabled may be called while another thread mixes.
    bool Enabled() const;
    void SetEnabled(bool enabled);  ///< turns the effect on or off

private:
    std::unique_ptr<EffectInstanceImpl> impl_;
};

}  // namespace orlo::project
