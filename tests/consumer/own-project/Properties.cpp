// SPDX-License-Identifier: MIT
// Animated properties and effect instances.
#include <iterator>
#include <map>
#include <string>
#include <utility>

#include "sonrel/project.h"

namespace orlo::project {

// PropertyManager: only levels have key frames, and they are floats.

struct PropertyManagerImpl {
    std::map<std::string, PropertyValue> values;
    std::map<std::string, std::map<int, float>> keyframes;
};

PropertyManager::PropertyManager() : impl_(std::make_unique<PropertyManagerImpl>()) {}
PropertyManager::~PropertyManager() = default;

PropertyValue PropertyManager::ValueAtTime(char const* key, bool, int timeMs) const {
    const auto found = impl_->keyframes.find(key);
    if (found == impl_->keyframes.end()) return StaticValue(key);
    const std::map<int, float>& frames = found->second;
    const auto later = frames.upper_bound(timeMs);
    if (later == frames.begin()) return later->second;
    const auto earlier = std::prev(later);
    if (later == frames.end()) return earlier->second;
    const double v0 = earlier->second;
    const double v1 = later->second;
    const double t0 = earlier->first;
    const double t1 = later->first;
    return static_cast<float>(v0 + (v1 - v0) * ((timeMs - t0) / (t1 - t0)));
}
PropertyValue const& PropertyManager::StaticValue(char const* key) const {
    return impl_->values[key];
}
void PropertyManager::SetStaticValue(char const* key, PropertyValue const& value) {
    impl_->values[key] = value;
}
void PropertyManager::SetKeyframe(char const* key, int timeMs, PropertyValue const& value) {
    impl_->keyframes[key][timeMs] = boost::get<float>(value);
}

// EffectInstance

struct EffectInstanceImpl {
    zrtl::ZRID id;
    std::shared_ptr<AbstractPlugin> plugin;
};

EffectInstance::EffectInstance(std::shared_ptr<AbstractPlugin> plugin)
    : impl_(new EffectInstanceImpl{zrtl::ZRID::Create(), std::move(plugin)}) {}
EffectInstance::~EffectInstance() = default;

zrtl::ZRID const& EffectInstance::ID() const {
    return impl_->id;
}
std::shared_ptr<AbstractPlugin> EffectInstance::Plugin() {
    return impl_->plugin;
}
bool EffectInstance::Enabled() const {
    return true;
}

}  // namespace orlo::project
