// SPDX-License-Identifier: MIT
#include "sonrel/plugins/PropertyManager.h"

#include <cmath>
#include <iterator>
#include <list>
#include <map>
#include <stdexcept>
#include <string>

namespace orlo::project {

namespace {

struct Property {
    std::string name;
    PropertyValue staticValue;
    std::map<int, PropertyValue> keyframes;
};

/// The value of an unknown key. No property that the engine reads is an `int`.
const PropertyValue& NoValue() {
    static const PropertyValue NO_VALUE;
    return NO_VALUE;
}

bool IsFinite(const PropertyValue& value) {
    if (const auto* number = boost::get<float>(&value)) return std::isfinite(*number);
    if (const auto* number = boost::get<double>(&value)) return std::isfinite(*number);
    return true;
}

/// The value at @p fraction between two key frames; the earlier value if it is not a number.
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

/// An object or track has two or three properties: a search through a list compares fewer names
/// than a search in a tree. References to a property stay valid when others are added or removed.
struct PropertyManagerImpl {
    std::list<Property> properties;

    Property* Find(char const* key) {
        for (Property& property : properties) {
            if (property.name == key) return &property;
        }
        return nullptr;
    }
    Property& FindOrAdd(char const* key) {
        Property* const found = Find(key);
        return found ? *found : properties.emplace_back(Property{key, {}, {}});
    }
};

PropertyManager::PropertyManager() : impl_(std::make_unique<PropertyManagerImpl>()) {}
PropertyManager::PropertyManager(const PropertyManager& source, int)
    : impl_(std::make_unique<PropertyManagerImpl>(*source.impl_)) {}
PropertyManager& PropertyManager::operator=(const PropertyManager& source) {
    *impl_ = *source.impl_;
    return *this;
}
PropertyManager::~PropertyManager() = default;

PropertyValue PropertyManager::ValueAtTime(char const* key, bool, int timeMs) const {
    const Property* const property = impl_->Find(key);
    if (!property) return NoValue();

    const std::map<int, PropertyValue>& keyframes = property->keyframes;
    if (keyframes.empty()) return property->staticValue;
    const auto later = keyframes.upper_bound(timeMs);
    if (later == keyframes.begin()) return later->second;
    const auto earlier = std::prev(later);
    if (later == keyframes.end() || earlier->first == timeMs) return earlier->second;

    const double t0 = earlier->first;
    const double t1 = later->first;
    return Between(earlier->second, later->second, (timeMs - t0) / (t1 - t0));
}

PropertyValue const& PropertyManager::StaticValue(char const* key) const {
    const Property* const property = impl_->Find(key);
    return property ? property->staticValue : NoValue();
}

void PropertyManager::SetStaticValue(char const* key, PropertyValue const& value) {
    impl_->FindOrAdd(key).staticValue = value;
}

void PropertyManager::SetKeyframe(char const* key, int timeMs, PropertyValue const& value) {
    if (!IsFinite(value)) throw std::invalid_argument("a key frame's value must be finite");
    Property* const known = impl_->Find(key);
    if (!known) {
        impl_->properties.push_back({key, value, {{timeMs, value}}});
        return;
    }
    std::map<int, PropertyValue>& keyframes = known->keyframes;
    const bool onlyKey = keyframes.empty() || (keyframes.size() == 1 && keyframes.count(timeMs));
    if (!onlyKey && keyframes.begin()->second.which() != value.which()) {
        throw std::invalid_argument(
            "all key frames of a property must hold the same kind of value");
    }
    keyframes[timeMs] = value;
}

void PropertyManager::RemoveKeyframe(char const* key, int timeMs) {
    if (Property* const property = impl_->Find(key)) property->keyframes.erase(timeMs);
}

void PropertyManager::ClearKeyframes(char const* key) {
    if (Property* const property = impl_->Find(key)) property->keyframes.clear();
}

bool PropertyManager::HasKeyframes(char const* key) const {
    const Property* const property = impl_->Find(key);
    return property && !property->keyframes.empty();
}

void PropertyManager::RemoveProperty(char const* key) {
    impl_->properties.remove_if([key](const Property& property) { return property.name == key; });
}

}  // namespace orlo::project
