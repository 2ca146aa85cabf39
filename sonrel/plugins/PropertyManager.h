// SPDX-License-Identifier: MIT
#pragma once

#include <cstring>
#include <map>
#include <string>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/PropertyValue.h"

namespace orlo::project {

/// The named properties of an object, layer or track, static and animated.
///
/// Times are integer milliseconds: of an object or layer from its own start, of a track or the
/// master track on the sequence's clock. A host that edits while something mixes holds the mixer's
/// mutex.
class SONREL_EXPORT PropertyManager {
public:
    PropertyManager();
    PropertyManager(const PropertyManager& source, int = 0);
    PropertyManager& operator=(const PropertyManager&);
    ~PropertyManager();

    /// The value of an animated property at a time.
    ///
    /// Between two key frames a `float` or `double` is interpolated linearly, in double precision:
    /// v0 + (v1 - v0) * ((t - t0) / (t1 - t0)). Other alternatives keep the earlier key's value.
    /// Before the first key and behind the last the nearest is held. Without key frames it is the
    /// static value.
    /// @param key   the property's name
    /// @param flag  not used; the engine passes false
    /// @param timeMs  milliseconds
    /// @return the value; an `int` 0 for an unknown key, so that its reader raises boost::bad_get
    PropertyValue ValueAtTime(char const* key, bool flag, int timeMs) const;

    /// The value of a property that is not animated; an `int` 0 for an unknown key.
    PropertyValue const& StaticValue(char const* key) const;

    /// Stores a static value.
    void SetStaticValue(char const* key, PropertyValue const& value);

    /// Stores a value at a time, in place of one that is there already. A property that did not
    /// exist takes the value as its static one too.
    /// @throws std::invalid_argument when the alternative differs from that of the other keys, or a
    ///         float or double is not finite
    void SetKeyframe(char const* key, int timeMs, PropertyValue const& value);
    void RemoveKeyframe(char const* key, int timeMs);
    void ClearKeyframes(char const* key);
    bool HasKeyframes(char const* key) const;

    /// Forgets a property with its key frames.
    void RemoveProperty(char const* key);

private:
    struct Property {
        PropertyValue staticValue;
        std::map<int, PropertyValue> keyframes;
    };

    /// Compares names without making a string of the one that is looked for.
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

    std::map<std::string, Property, NameLess> properties_;
};

}  // namespace orlo::project
