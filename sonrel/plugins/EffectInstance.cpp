// SPDX-License-Identifier: MIT
#include "sonrel/plugins/EffectInstance.h"

#include <atomic>
#include <stdexcept>
#include <utility>

#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/EffectRules.h"

namespace orlo::project {

struct EffectInstanceImpl {
    EffectInstanceImpl(zrtl::ZRID const& identity, std::shared_ptr<AbstractPlugin> used, bool on)
        : id(identity), plugin(std::move(used)), enabled(on) {}

    zrtl::ZRID id;
    std::shared_ptr<AbstractPlugin> plugin;
    std::atomic<bool> enabled;
};

namespace {

constexpr int AUDIO_PLUGIN = 1;

}  // namespace

EffectInstance::EffectInstance(std::shared_ptr<AbstractPlugin> plugin) {
    if (!plugin) throw std::invalid_argument("an effect needs a plugin");
    // The engine takes the class from the kind only.
    if (plugin->PluginKind() == AUDIO_PLUGIN && !dynamic_cast<AbstractPluginAudio*>(plugin.get())) {
        throw std::invalid_argument("a plugin of the audio kind must be an audio plugin");
    }
    impl_ = std::make_unique<EffectInstanceImpl>(zrtl::ZRID::Create(), std::move(plugin), true);
}

EffectInstance::EffectInstance(EffectInstance& source, int)
    : AbstractPluginInstance(source),
      impl_(std::make_unique<EffectInstanceImpl>(source.impl_->id, source.impl_->plugin,
                                                 source.Enabled())) {}

EffectInstance::~EffectInstance() = default;

zrtl::ZRID const& EffectInstance::ID() const {
    return impl_->id;
}
std::shared_ptr<AbstractPlugin> EffectInstance::Plugin() {
    return impl_->plugin;
}
bool EffectInstance::Enabled() const {
    return impl_->enabled;
}
void EffectInstance::SetEnabled(bool enabled) {
    impl_->enabled = enabled;
}

void AdmitLayerEffect(std::shared_ptr<EffectInstance> const& effect) {
    if (!effect || !effect->Plugin()) throw std::invalid_argument("an effect needs a plugin");
}

void AdmitObjectEffect(std::shared_ptr<EffectInstance> const& effect) {
    AdmitLayerEffect(effect);
    if (effect->Plugin()->PluginKind() != AUDIO_PLUGIN) {
        throw std::invalid_argument("an object on an audio track takes audio effects only");
    }
}

}  // namespace orlo::project
