// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/AbstractPluginInstance.h"

namespace orlo::project {

/// One effect on an object or layer.
class SONREL_EXPORT EffectInstance : public AbstractPluginInstance {
public:
    /// @param plugin  never empty; one of kind 1 is an AbstractPluginAudio
    /// @throws std::invalid_argument otherwise
    explicit EffectInstance(std::shared_ptr<AbstractPlugin> plugin);
    /// Shares the plugin and has the same identity.
    EffectInstance(EffectInstance& source, int = 0);
    EffectInstance& operator=(EffectInstance const&) = delete;
    ~EffectInstance() override;

    zrtl::ZRID const& ID() const override;
    std::shared_ptr<AbstractPlugin> Plugin() override;

    /// A disabled effect is passed over. May be switched while something mixes.
    bool Enabled() const;
    void SetEnabled(bool enabled);

private:
    zrtl::ZRID id_;
    std::shared_ptr<AbstractPlugin> plugin_;
    std::atomic<bool> enabled_ = true;
};

}  // namespace orlo::project
