// SPDX-License-Identifier: MIT
#include "sonrel/plugins/PropertyManager.h"

#include <cmath>
#include <iterator>
#include <stdexcept>

namespace orlo::project {

namespace {

/// What an unknown key reads as. No property that the engine reads is an `int`.
const PropertyValue& NoValue() {
    static const PropertyValue NO_VALUE;
    return NO_VALUE;
}

bool IsFinite(const PropertyValue& value) {
    if (const auto* number = boost::get<float>(&value)) return std::isfinite(*number);
    if (const auto* number = boost::get<double>(&value)) return std::isfinite(*number);
    return true;
}

/// The value at @p fraction of the way; the earlier value for anything but a number.
PropertyValue Between(const PropertyValue& earlier, const PropertyValue& later, double fraction) {
    if (const auto* from = boost::get<float>(&earlier)) {
        const double v0 = *from;
        const double v1 = boost::get<float>(later);
        return static_cast<float>(v0 + (v1 - v0) * fraction);
    }
    if (const auto* from = boost::get<double>(&earlier)) {
        const double v0 = *from;
        const double v1 = boost::get<double>(later);
        return v0 + (v1 - v0) * fraction;
    }
    return earlier;
}

}  // namespace

PropertyManager::PropertyManager() = default;
PropertyManager::PropertyManager(const PropertyManager& source, int)
    : properties_(source.properties_) {}
PropertyManager& PropertyManager::operator=(const PropertyManager&) = default;
PropertyManager::~PropertyManager() = default;

PropertyValue PropertyManager::ValueAtTime(char const* key, bool, int timeMs) const {
    const auto property = properties_.find(key);
    if (property == properties_.end()) return NoValue();

    const std::map<int, PropertyValue>& keyframes = property->second.keyframes;
    if (keyframes.empty()) return property->second.staticValue;
    const auto later = keyframes.upper_bound(timeMs);
    if (later == keyframes.begin()) return later->second;
    const auto earlier = std::prev(later);
    if (later == keyframes.end() || earlier->first == timeMs) return earlier->second;

    const double t0 = earlier->first;
    const double t1 = later->first;
    return Between(earlier->second, later->second, (timeMs - t0) / (t1 - t0));
}

PropertyValue const& PropertyManager::StaticValue(char const* key) const {
    const auto property = properties_.find(key);
    return property == properties_.end() ? NoValue() : property->second.staticValue;
}

void PropertyManager::SetStaticValue(char const* key, PropertyValue const& value) {
    properties_[key].staticValue = value;
}

void PropertyManager::SetKeyframe(char const* key, int timeMs, PropertyValue const& value) {
    if (!IsFinite(value)) throw std::invalid_argument("a key frame's value must be finite");
    const auto known = properties_.find(key);
    if (known == properties_.end()) {
        properties_[key] = {value, {{timeMs, value}}};
        return;
    }
    std::map<int, PropertyValue>& keyframes = known->second.keyframes;
    const bool onlyKey = keyframes.empty() || (keyframes.size() == 1 && keyframes.count(timeMs));
    if (!onlyKey && keyframes.begin()->second.which() != value.which()) {
        throw std::invalid_argument(
            "all key frames of a property must hold the same kind of value");
    }
    keyframes[timeMs] = value;
}

void PropertyManager::RemoveKeyframe(char const* key, int timeMs) {
    const auto property = properties_.find(key);
    if (property != properties_.end()) property->second.keyframes.erase(timeMs);
}

void PropertyManager::ClearKeyframes(char const* key) {
    const auto property = properties_.find(key);
    if (property != properties_.end()) property->second.keyframes.clear();
}

bool PropertyManager::HasKeyframes(char const* key) const {
    const auto property = properties_.find(key);
    return property != properties_.end() && !property->second.keyframes.empty();
}

void PropertyManager::RemoveProperty(char const* key) {
    const auto property = properties_.find(key);
    if (property != properties_.end()) properties_.erase(property);
}

}  // namespace orlo::project
