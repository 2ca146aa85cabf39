// SPDX-License-Identifier: MIT
#include "sonrel/plugins/EffectInstance.h"

#include <stdexcept>
#include <utility>

#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/plugins/EffectRules.h"

namespace orlo::project {

namespace {

constexpr int AUDIO_PLUGIN = 1;

}  // namespace

EffectInstance::EffectInstance(std::shared_ptr<AbstractPlugin> plugin)
    : id_(zrtl::ZRID::Create()), plugin_(std::move(plugin)) {
    if (!plugin_) throw std::invalid_argument("an effect needs a plugin");
    // The engine takes the class from the kind alone.
    if (plugin_->PluginKind() == AUDIO_PLUGIN &&
        !dynamic_cast<AbstractPluginAudio*>(plugin_.get())) {
        throw std::invalid_argument("a plugin of the audio kind must be an audio plugin");
    }
}

EffectInstance::EffectInstance(EffectInstance& source, int)
    : AbstractPluginInstance(source),
      id_(source.id_),
      plugin_(source.plugin_),
      enabled_(source.Enabled()) {}

EffectInstance::~EffectInstance() = default;

zrtl::ZRID const& EffectInstance::ID() const {
    return id_;
}
std::shared_ptr<AbstractPlugin> EffectInstance::Plugin() {
    return plugin_;
}
bool EffectInstance::Enabled() const {
    return enabled_;
}
void EffectInstance::SetEnabled(bool enabled) {
    enabled_ = enabled;
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
