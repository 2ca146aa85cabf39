// SPDX-License-Identifier: MIT
#include "sonrel/plugins/PropertyManager.h"

#include <cmath>
#include <cstring>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>

namespace orlo::project {

namespace {

struct Property {
    PropertyValue staticValue;
    std::map<int, PropertyValue> keyframes;
};

/// Compares names without making a string of the name that is searched.
struct NameLess {
    using is_transparent = void;
    bool operator()(const std::string& left, const std::string& right) const {
        return left < right;
    }
    bool operator()(const std::string& left, char const* right) const {
        return std::strcmp(left.c_str(), right) < 0;
    }
    bool operator()(char const* left, const std::string& right) const {
        return std::strcmp(left, right.c_str()) < 0;
    }
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

struct PropertyManagerImpl {
    std::map<std::string, Property, NameLess> properties;
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
    const auto property = impl_->properties.find(key);
    if (property == impl_->properties.end()) return NoValue();

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
    const auto property = impl_->properties.find(key);
    return property == impl_->properties.end() ? NoValue() : property->second.staticValue;
}

void PropertyManager::SetStaticValue(char const* key, PropertyValue const& value) {
    impl_->properties[key].staticValue = value;
}

void PropertyManager::SetKeyframe(char const* key, int timeMs, PropertyValue const& value) {
    if (!IsFinite(value)) throw std::invalid_argument("a key frame's value must be finite");
    const auto known = impl_->properties.find(key);
    if (known == impl_->properties.end()) {
        impl_->properties[key] = {value, {{timeMs, value}}};
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
    const auto property = impl_->properties.find(key);
    if (property != impl_->properties.end()) property->second.keyframes.erase(timeMs);
}

void PropertyManager::ClearKeyframes(char const* key) {
    const auto property = impl_->properties.find(key);
    if (property != impl_->properties.end()) property->second.keyframes.clear();
}

bool PropertyManager::HasKeyframes(char const* key) const {
    const auto property = impl_->properties.find(key);
    return property != impl_->properties.end() && !property->second.keyframes.empty();
}

void PropertyManager::RemoveProperty(char const* key) {
    const auto property = impl_->properties.find(key);
    if (property != impl_->properties.end()) impl_->properties.erase(property);
}

}  // namespace orlo::project
